# How the pieces of this project are compiled and put together.

# A compiler cache saves most of the time that the several presets take.
find_program(QZLOG_CCACHE ccache)
if(QZLOG_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_CURRENT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${QZLOG_CCACHE})
endif()

add_library(qzlog_options INTERFACE)
target_compile_features(qzlog_options INTERFACE cxx_std_20)
target_compile_options(qzlog_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual -Woverloaded-virtual)
# Only where the compiler is known: another one may find something new, and shall build nevertheless.
if(QZLOG_WARNINGS_AS_ERRORS)
    target_compile_options(qzlog_options INTERFACE -Werror)
endif()
if(QZLOG_SANITIZERS)
    target_compile_options(qzlog_options INTERFACE
        -fsanitize=${QZLOG_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(qzlog_options INTERFACE -fsanitize=${QZLOG_SANITIZERS})
    # With them g++ 12 takes members of the standard library's regular expressions for uninitialised.
    target_compile_options(qzlog_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
# Where several files are compiled as one, g++ takes their unnamed namespaces for those of a header.
target_compile_options(qzlog_options INTERFACE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wno-subobject-linkage>)

# A layer is one folder of src/ as a static library. It sees the public headers, the folders of src/ by
# their names, and it links only what lies below it.
function(qzlog_add_layer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;DEPENDS;LIBRARIES")
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC
        ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/include ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE qzlog_options ${arg_LIBRARIES})
    set_target_properties(${name} PROPERTIES
        CXX_EXTENSIONS OFF
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    set_property(GLOBAL APPEND PROPERTY QZLOG_LAYERS ${name})
endfunction()

# A test program of one folder of tests/, linked with the layers that it names, so that it reaches what
# the shared library hides.
function(qzlog_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LAYERS;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${arg_LAYERS} qzlog_options GTest::gmock GTest::gtest_main ${arg_LIBRARIES})
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    # Beside optimised layers: what is tested is fast, and what tests it is compiled in little more than half the time.
    target_compile_options(${name} PRIVATE $<$<CONFIG:RelWithDebInfo>:-O1 -g1>)
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
