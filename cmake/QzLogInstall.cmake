# The installed package, in four components: the library, its Kafka module, what is needed to build with it (public
# headers, find_package(QzLog), pkg-config's qzlog), and the operator's tool; and the kit in two, as the library.

include(CMakePackageConfigHelpers)
find_program(GZIP_PROGRAM gzip REQUIRED)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QzLog)

install(TARGETS QzLog2_64 EXPORT QzLogTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
if(TARGET QzLogKafka)
    install(TARGETS QzLogKafka LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT kafka)
endif()
install(DIRECTORY include/ ${PROJECT_BINARY_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
    FILES_MATCHING PATTERN "*.h")
install(EXPORT QzLogTargets NAMESPACE QzLog:: DESTINATION ${package_dir} COMPONENT development)
if(QZLOG_BUILD_KIT)
    # An export of its own: the kit's packages are separate from the library's.
    install(TARGETS QzLogKit EXPORT QzLogKitTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT kit NAMELINK_COMPONENT kit_development)
    install(DIRECTORY kit/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT kit_development
        FILES_MATCHING PATTERN "*.h")
    install(EXPORT QzLogKitTargets NAMESPACE QzLog:: DESTINATION ${package_dir} COMPONENT kit_development)
    if(NOT QZLOG_BUILD_PACKAGES)
        set_target_properties(QzLogKit PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()
endif()
if(QZLOG_BUILD_TOOLS)
    # The tool finds the library from where it stands, under any prefix; packages go where the system looks.
    if(NOT QZLOG_BUILD_PACKAGES)
        file(RELATIVE_PATH tool_to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
        set_target_properties(qzlog_program PROPERTIES INSTALL_RPATH "$ORIGIN/${tool_to_library}")
    endif()
    install(TARGETS qzlog_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    if(NOT CMAKE_CROSSCOMPILING)
        set(completions ${PROJECT_BINARY_DIR}/tools/qzlog)
        install(FILES ${completions}/qzlog.bash RENAME qzlog
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
        # Debian's zsh has a folder of its own for packages.
        set(zsh_folder site-functions)
        if(QZLOG_BUILD_PACKAGES)
            set(zsh_folder vendor-completions)
        endif()
        install(FILES ${completions}/qzlog.zsh RENAME _qzlog
            DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder} COMPONENT tool)
        install(FILES ${completions}/qzlog.fish
            DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
    endif()
    # Debian wants manual pages compressed.
    set(manual_page ${PROJECT_BINARY_DIR}/qzlog.1.gz)
    add_custom_command(OUTPUT ${manual_page}
        COMMAND sh -c "${GZIP_PROGRAM} -9nc ${PROJECT_SOURCE_DIR}/tools/qzlog/manual/qzlog.1 > ${manual_page}"
        DEPENDS tools/qzlog/manual/qzlog.1 VERBATIM)
    add_custom_target(QzLogManualPage ALL DEPENDS ${manual_page})
    install(FILES ${manual_page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
endif()

write_basic_package_version_file(${PROJECT_BINARY_DIR}/QzLogConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/QzLogConfig.cmake.in ${PROJECT_BINARY_DIR}/QzLogConfig.cmake
    INSTALL_DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/QzLogConfig.cmake ${PROJECT_BINARY_DIR}/QzLogConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# From where the file stands, so that it is right under the prefix of `cmake --install`, and in a tree that is moved.
file(RELATIVE_PATH QZLOG_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(folder IN ITEMS INCLUDEDIR LIBDIR)
    string(REPLACE "${CMAKE_INSTALL_PREFIX}/" "\${prefix}/" QZLOG_PC_${folder} "${CMAKE_INSTALL_FULL_${folder}}")
endforeach()
configure_file(cmake/qzlog.pc.in ${PROJECT_BINARY_DIR}/qzlog.pc @ONLY)
if(QZLOG_BUILD_KIT)
    configure_file(cmake/qzlog-kit.pc.in ${PROJECT_BINARY_DIR}/qzlog-kit.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/qzlog-kit.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT kit_development)
endif()
install(FILES ${PROJECT_BINARY_DIR}/qzlog.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
