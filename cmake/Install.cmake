# What `cmake --install` puts where.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rtiqnutil)

set(installed rtiqnutil)
if(TARGET rtiqnutil_static)
    list(APPEND installed rtiqnutil_static)
endif()
install(TARGETS ${installed} EXPORT rtiqnutilTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rtiqnutil
        FILES_MATCHING PATTERN "*.h")
install(EXPORT rtiqnutilTargets NAMESPACE rtiqnutil:: DESTINATION ${package_dir})

configure_package_config_file(cmake/rtiqnutilConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/rtiqnutilConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/rtiqnutilConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rtiqnutilConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/rtiqnutilConfigVersion.cmake
        DESTINATION ${package_dir})

file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/rtiqnutil.pc.in ${CMAKE_CURRENT_BINARY_DIR}/rtiqnutil.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rtiqnutil.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
