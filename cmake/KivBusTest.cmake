# The function of the component Testing; loaded by find_package(kiv-qtdbus-lib COMPONENTS Testing),
# and by that of kiv-qtdbus-lib-qt6.
cmake_policy(VERSION 3.16)

set(KIV_AUDIO_SIMULATOR "" CACHE FILEPATH
    "The simulator that tests of kiv_add_bus_test run, when cross compiling for instance; empty: the installed one")

# kiv_add_bus_test(NAME <name> COMMAND <command> [<argument>…]
#                  [SCENARIO <name>|<file>] [MODES [<destination>=]<mode>,<mode>… …] [SEED <number>]
#                  [TIMEOUT <seconds>] [WORKING_DIRECTORY <folder>] [LABELS <label>…])
#
# Adds a CTest test that runs a command on a private bus with the simulated audio management service on it. The
# command finds that bus in DBUS_SYSTEM_BUS_ADDRESS; its exit code decides. Call enable_testing() before.
#
# COMMAND            an executable target, which must exist already, or a program, and its arguments. None may be
#                    empty, or be one of the keywords of this function.
# SCENARIO           an installed scenario, by its name; or a file, by a path with a "/" or the ending ".json",
#                    relative to the current source folder. A relative file must exist. An absolute one may still
#                    have to be made by the build.
# MODES              as the simulator's option --modes, once for each value.
# SEED               as the simulator's option --seed.
# TIMEOUT            60 by default.
# WORKING_DIRECTORY  the current binary folder by default.
# LABELS             CTest labels.
#
# Wrong use is an error of the configuration.
function(kiv_add_bus_test)
    cmake_parse_arguments(PARSE_ARGV 0 arg
        "" "NAME;SCENARIO;SEED;TIMEOUT;WORKING_DIRECTORY" "COMMAND;MODES;LABELS")
    if(NOT DEFINED arg_TIMEOUT)
        set(arg_TIMEOUT 60)
    endif()
    _kiv_check_bus_test()
    _kiv_find_simulator(simulator)
    _kiv_find_command(command)

    set(options)
    if(DEFINED arg_SCENARIO)
        _kiv_find_scenario(scenario)
        list(APPEND options --scenario ${scenario})
    endif()
    foreach(modes IN LISTS arg_MODES)
        string(REPLACE ";" "\\;" modes "${modes}")
        list(APPEND options --modes "${modes}")
    endforeach()
    if(DEFINED arg_SEED)
        list(APPEND options --seed ${arg_SEED})
    endif()
    set(place)
    if(DEFINED arg_WORKING_DIRECTORY)
        set(place WORKING_DIRECTORY ${arg_WORKING_DIRECTORY})
    endif()

    add_test(NAME ${arg_NAME} COMMAND ${simulator} ${options} --exec ${command} ${place})
    set_tests_properties(${arg_NAME} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}")
endfunction()

# The helpers below read the arguments of kiv_add_bus_test as they were parsed.

function(_kiv_refuse_bus_test text)
    message(FATAL_ERROR "kiv_add_bus_test(${arg_NAME}): ${text}")
endfunction()

function(_kiv_check_bus_test)
    if(arg_KEYWORDS_MISSING_VALUES)
        list(JOIN arg_KEYWORDS_MISSING_VALUES ", " keywords)
        _kiv_refuse_bus_test("no value for ${keywords}.")
    endif()
    if(arg_UNPARSED_ARGUMENTS)
        list(JOIN arg_UNPARSED_ARGUMENTS "\", \"" arguments)
        _kiv_refuse_bus_test("unknown argument \"${arguments}\"; known are NAME, COMMAND, SCENARIO, MODES, \
SEED, TIMEOUT, WORKING_DIRECTORY and LABELS.")
    endif()
    foreach(keyword IN ITEMS NAME COMMAND)
        if("${arg_${keyword}}" STREQUAL "")
            _kiv_refuse_bus_test("${keyword} is missing.")
        endif()
    endforeach()
    if("" IN_LIST arg_COMMAND)
        _kiv_refuse_bus_test("COMMAND has an empty argument, which CTest does not pass on.")
    endif()
    if(DEFINED arg_SEED AND NOT arg_SEED MATCHES "^[0-9]+$")
        _kiv_refuse_bus_test("SEED is \"${arg_SEED}\", not a whole number from 0.")
    endif()
    if(NOT arg_TIMEOUT MATCHES "^[0-9]*[1-9][0-9]*$")
        _kiv_refuse_bus_test("TIMEOUT is \"${arg_TIMEOUT}\", not a whole number of seconds from 1.")
    endif()
endfunction()

function(_kiv_find_simulator result)
    if(KIV_AUDIO_SIMULATOR)
        if(NOT EXISTS "${KIV_AUDIO_SIMULATOR}")
            _kiv_refuse_bus_test("there is no simulator at KIV_AUDIO_SIMULATOR, \"${KIV_AUDIO_SIMULATOR}\".")
        endif()
        set(${result} ${KIV_AUDIO_SIMULATOR} PARENT_SCOPE)
        return()
    endif()
    foreach(package IN ITEMS kiv-qtdbus-lib kiv-qtdbus-lib-qt6)
        if(TARGET ${package}::kiv-audio-simulator)
            set(${result} $<TARGET_FILE:${package}::kiv-audio-simulator> PARENT_SCOPE)
            return()
        endif()
    endforeach()
    _kiv_refuse_bus_test("call find_package(kiv-qtdbus-lib COMPONENTS Testing) in this folder or one above it.")
endfunction()

function(_kiv_find_command result)
    set(command "${arg_COMMAND}")
    list(GET arg_COMMAND 0 program)
    if(TARGET ${program})
        get_target_property(type ${program} TYPE)
        if(NOT type STREQUAL "EXECUTABLE")
            _kiv_refuse_bus_test("the target ${program} of COMMAND is not an executable.")
        endif()
        # Not with list(), which loses the escapes of semicolons.
        string(REGEX REPLACE "^[^;]+" "$<TARGET_FILE:${program}>" command "${arg_COMMAND}")
    endif()
    set(${result} "${command}" PARENT_SCOPE)
endfunction()

function(_kiv_find_scenario result)
    set(scenario ${arg_SCENARIO})
    if(NOT scenario MATCHES "/|\\.json$|^\\$<")
        _kiv_check_installed_scenario()
    elseif(NOT IS_ABSOLUTE "${scenario}" AND NOT scenario MATCHES "^\\$<")
        get_filename_component(scenario "${scenario}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_SOURCE_DIR}")
        if(NOT EXISTS "${scenario}" OR IS_DIRECTORY "${scenario}")
            _kiv_refuse_bus_test("there is no scenario file \"${arg_SCENARIO}\" in ${CMAKE_CURRENT_SOURCE_DIR}.")
        endif()
    endif()
    set(${result} ${scenario} PARENT_SCOPE)
endfunction()

function(_kiv_check_installed_scenario)
    get_property(folder GLOBAL PROPERTY KIV_SCENARIO_FOLDER)
    if(EXISTS "${folder}/${arg_SCENARIO}.json")
        return()
    endif()
    file(GLOB names RELATIVE "${folder}" "${folder}/*.json")
    list(TRANSFORM names REPLACE "\\.json$" "")
    list(JOIN names ", " known)
    if(NOT known)
        set(known "none")
    endif()
    _kiv_refuse_bus_test("there is no scenario \"${arg_SCENARIO}\"; installed are: ${known}. A file is given by \
a path with a \"/\" or the ending \".json\".")
endfunction()
