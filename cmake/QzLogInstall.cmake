# The installed package: library, public headers, and what find_package(QzLog) and pkg-config read.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QzLog)

install(TARGETS QzLog2_64 EXPORT QzLogTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(EXPORT QzLogTargets NAMESPACE QzLog:: DESTINATION ${package_dir})

write_basic_package_version_file(${PROJECT_BINARY_DIR}/QzLogConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/QzLogConfig.cmake.in ${PROJECT_BINARY_DIR}/QzLogConfig.cmake
    INSTALL_DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/QzLogConfig.cmake ${PROJECT_BINARY_DIR}/QzLogConfigVersion.cmake
    DESTINATION ${package_dir})
