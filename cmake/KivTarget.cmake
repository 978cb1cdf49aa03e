# No folder of the machine that builds is in what is built: neither in what __FILE__ says nor in debug information, which
# name files as "./src/…"; a debugger that is started in the source folder finds them. Whoever builds packages has a map
# of his own (dpkg-buildflags, Yocto), which stays as it is.
set(kiv_path_map)
string(FIND "${CMAKE_CXX_FLAGS}" "-prefix-map=" kiv_place_of_map)
if(kiv_place_of_map EQUAL -1)
    # Of two that fit, a compiler may take either.
    set(kiv_path_map
        -fmacro-prefix-map=${PROJECT_SOURCE_DIR}=. -fdebug-prefix-map=${PROJECT_SOURCE_DIR}=.
        -fmacro-prefix-map=${PROJECT_BINARY_DIR}=./build -fdebug-prefix-map=${PROJECT_BINARY_DIR}=./build)
endif()

# kiv_target(<target> [PLAIN_TEXTS]): what every target of this project is compiled with.
# PLAIN_TEXTS lets "a literal" become a QString, which makes tests easier to read.
function(kiv_target target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "PLAIN_TEXTS" "" "")
    set(standard 17)
    if(CMAKE_CXX_STANDARD)
        set(standard ${CMAKE_CXX_STANDARD})
    endif()
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        AUTOMOC_PATH_PREFIX ON # headers by their place in an include folder, not by the way to it from the build folder
        CXX_STANDARD ${standard}
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${target} PRIVATE
        QT_NO_KEYWORDS
        QT_NO_FOREACH
        QT_NO_CAST_TO_ASCII
        QT_NO_CAST_FROM_BYTEARRAY
        QT_NO_URL_CAST_FROM_STRING
        QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
        QT_STRICT_ITERATORS
        QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
    if(NOT arg_PLAIN_TEXTS)
        target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII)
    endif()
    target_compile_options(${target} PRIVATE ${kiv_path_map})
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
        # Qt's qCDebug(category) << … leaves the variable part of its macro empty.
        target_compile_options(${target} PRIVATE -Wno-gnu-zero-variadic-macro-arguments)
    endif()
    if(KIV_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(KIV_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${KIV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${KIV_SANITIZE})
    endif()
endfunction()
