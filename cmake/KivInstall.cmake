include(CMakePackageConfigHelpers)

# kiv_install_library(<target> <package> HEADERS <header>… [PATH_VARS <variable>…]): names a shared library after its package
# and version, and installs it with all that others build with: headers, CMake package with the target <package>::<package>,
# pkg-config file. The last two are made from cmake/<target>-config.cmake.in, in which the variables stand for paths, and
# cmake/<target>.pc.in. All of it can be moved, unless CMAKE_INSTALL_LIBDIR or such is absolute.
function(kiv_install_library target package)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "HEADERS;PATH_VARS")
    set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/${package})
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${package}
        EXPORT_NAME ${package}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR})
    target_include_directories(${target} PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${package}>)

    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/${target}-config.cmake.in ${package}-config.cmake
        INSTALL_DESTINATION ${package_folder} PATH_VARS ${arg_PATH_VARS})
    write_basic_package_version_file(${package}-config-version.cmake COMPATIBILITY SameMajorVersion)
    _kiv_configure_pc_file(${target} ${package})

    install(TARGETS ${target} EXPORT ${package}-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(FILES ${arg_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${package})
    install(EXPORT ${package}-targets NAMESPACE ${package}:: DESTINATION ${package_folder})
    install(FILES
        ${CMAKE_CURRENT_BINARY_DIR}/${package}-config.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/${package}-config-version.cmake
        DESTINATION ${package_folder})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

function(_kiv_configure_pc_file target package)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set(KIV_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    else()
        file(RELATIVE_PATH KIV_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
        string(PREPEND KIV_PC_PREFIX "\${pcfiledir}/")
    endif()
    foreach(folder LIBDIR INCLUDEDIR)
        set(KIV_PC_${folder} "${CMAKE_INSTALL_${folder}}")
        if(NOT IS_ABSOLUTE "${KIV_PC_${folder}}")
            string(PREPEND KIV_PC_${folder} "\${prefix}/")
        endif()
    endforeach()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${target}.pc.in ${package}.pc @ONLY)
endfunction()
