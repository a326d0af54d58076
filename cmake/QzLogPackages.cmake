# Debian packages by CPack: the library under the name that its soname asks for, its Kafka module, the development files,
# the tool.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qzlog)
# CPack's own default, so that it does not put the project's summary before that of each package.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_PACKAGE_VENDOR "The QzLog authors")
set(CPACK_PACKAGE_CONTACT "The QzLog authors <qzlog@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET QzLogKafka)
    list(APPEND CPACK_COMPONENTS_ALL kafka)
endif()
if(QZLOG_BUILD_KIT)
    list(APPEND CPACK_COMPONENTS_ALL kit kit_development)
endif()
if(QZLOG_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Packages of one build find each other's libraries there.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/kit)

set(library_package libqzlog2-64-${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# What a program needs at least, symbol by symbol: those of the last release stand in packaging/symbols and must all be
# there; a program that uses another one needs a later package. After a release, take them over from the package.
set(last_release 1.0.0)
find_program(GENSYMBOLS_PROGRAM dpkg-gensymbols REQUIRED)
set(symbols ${PROJECT_BINARY_DIR}/debian/symbols)
add_custom_command(OUTPUT ${symbols}
    COMMAND ${GENSYMBOLS_PROGRAM} -q -c1 -p${library_package} -v${last_release}+ -P${PROJECT_BINARY_DIR}
        -e$<TARGET_FILE:QzLog2_64> -I${PROJECT_SOURCE_DIR}/packaging/symbols -O${symbols}
    DEPENDS QzLog2_64 ${PROJECT_SOURCE_DIR}/packaging/symbols VERBATIM)
add_custom_target(QzLogSymbols ALL DEPENDS ${symbols})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers ${symbols})
# A package of its own, so that a server without Kafka can do without librdkafka, OpenSSL and SASL. Others get it with
# the library.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS ${library_package}-kafka)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
"diagnostic logging for servers of several processes
QzLog writes rotating log files that several processes share, without a torn
or silently lost record, and the system log and Kafka streams beside them.
What was lost is counted and said in the log itself.")

set(CPACK_DEBIAN_KAFKA_PACKAGE_NAME ${library_package}-kafka)
set(CPACK_DEBIAN_KAFKA_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_KAFKA_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION}-1)")
set(CPACK_DEBIAN_KAFKA_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_KAFKA_PACKAGE_ENHANCES ${library_package})
set(CPACK_COMPONENT_KAFKA_DESCRIPTION
"diagnostic logging for servers of several processes (Kafka client)
QzLog writes rotating log files that several processes share.

This package has the module that sends log records to Kafka. The library
loads it when a program configures a Kafka producer.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqzlog-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"diagnostic logging for servers of several processes (development files)
QzLog writes rotating log files that several processes share.

This package has the headers, and what CMake and pkg-config need.")

if(QZLOG_BUILD_KIT)
    set(kit_package libqzlogkit${PROJECT_VERSION_MAJOR})
    set(CPACK_DEBIAN_KIT_PACKAGE_NAME ${kit_package})
    set(CPACK_DEBIAN_KIT_PACKAGE_SECTION libs)
    set(CPACK_DEBIAN_KIT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION}-1)")
    # No release has had it; after one, take its symbols over as those of the library.
    set(kit_symbols ${PROJECT_BINARY_DIR}/debian-kit/symbols)
    add_custom_command(OUTPUT ${kit_symbols}
        COMMAND ${GENSYMBOLS_PROGRAM} -q -p${kit_package} -v${PROJECT_VERSION} -P${PROJECT_BINARY_DIR}
            -e$<TARGET_FILE:QzLogKit> -O${kit_symbols}
        DEPENDS QzLogKit VERBATIM)
    add_custom_target(QzLogKitSymbols ALL DEPENDS ${kit_symbols})
    set(CPACK_DEBIAN_KIT_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers ${kit_symbols})
    set(CPACK_COMPONENT_KIT_DESCRIPTION
"what servers need around the QzLog logging library
QzLog writes rotating log files that several processes share.

This library has destinations that limit, select, translate or capture
messages, identities that nest and are cleaned, and handles of loggers.")

    set(CPACK_DEBIAN_KIT_DEVELOPMENT_PACKAGE_NAME libqzlogkit-dev)
    set(CPACK_DEBIAN_KIT_DEVELOPMENT_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_KIT_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
    set(CPACK_DEBIAN_KIT_DEVELOPMENT_PACKAGE_DEPENDS
        "${kit_package} (= ${PROJECT_VERSION}-1), libqzlog-dev (= ${PROJECT_VERSION}-1)")
    set(CPACK_COMPONENT_KIT_DEVELOPMENT_DESCRIPTION
"what servers need around the QzLog logging library (development files)
QzLog writes rotating log files that several processes share.

This package has the headers of its kit, and what CMake and pkg-config need.")
endif()

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME qzlog)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
# dpkg-shlibdeps knows no package yet that the library is in, and passes it by without a word.
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION}-1)")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
"view, follow, check and write QzLog's log files
QzLog writes rotating log files that several processes share.

This package has the operator's tool: it merges logs and their back-ups by
time, filters and follows them, checks them and counts what is in them.")

# Each package says its licence and what changed, which is the one other place where the version stands.
file(STRINGS packaging/changelog changelog_head LIMIT_COUNT 1)
string(FIND "${changelog_head}" "(${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})" version_in_changelog)
if(version_in_changelog EQUAL -1)
    message(FATAL_ERROR "packaging/changelog does not begin with ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
endif()
set(changelog ${PROJECT_BINARY_DIR}/changelog.Debian.gz)
add_custom_command(OUTPUT ${changelog}
    COMMAND sh -c "${GZIP_PROGRAM} -9nc ${PROJECT_SOURCE_DIR}/packaging/changelog > ${changelog}"
    DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog VERBATIM)
add_custom_target(QzLogChangelog ALL DEPENDS ${changelog})
set(pairs library:${library_package} kafka:${library_package}-kafka development:libqzlog-dev tool:qzlog)
if(QZLOG_BUILD_KIT)
    list(APPEND pairs kit:${kit_package} kit_development:libqzlogkit-dev)
endif()
foreach(pair IN LISTS pairs)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 component)
    list(GET pair 1 package)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${changelog}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endforeach()

include(CPack)
