# The libraries that QzLog stands on, from the distribution's packages.

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# libbacktrace, which reads names and lines out of debug information, comes with gcc and stands in its folder.
# That folder also holds gcc's own versions of headers that clang brings, so only the one header is taken.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libbacktrace.a
    OUTPUT_VARIABLE compiler_folder OUTPUT_STRIP_TRAILING_WHITESPACE)
cmake_path(GET compiler_folder PARENT_PATH compiler_folder)
find_library(QZLOG_BACKTRACE_LIBRARY backtrace HINTS ${compiler_folder} REQUIRED)
find_file(QZLOG_BACKTRACE_HEADER backtrace.h HINTS ${compiler_folder}/include REQUIRED)
configure_file(${QZLOG_BACKTRACE_HEADER} ${PROJECT_BINARY_DIR}/libbacktrace/backtrace.h COPYONLY)
add_library(QzLogBacktrace INTERFACE IMPORTED)
target_include_directories(QzLogBacktrace INTERFACE ${PROJECT_BINARY_DIR}/libbacktrace)
target_link_libraries(QzLogBacktrace INTERFACE ${QZLOG_BACKTRACE_LIBRARY} ${CMAKE_DL_LIBS})

find_path(QZLOG_UTFCPP_INCLUDE_DIR utf8.h PATH_SUFFIXES utf8cpp REQUIRED)
pkg_check_modules(JsonCpp REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(Uuid REQUIRED IMPORTED_TARGET uuid)

if(QZLOG_WITH_KAFKA)
    pkg_check_modules(RdKafka IMPORTED_TARGET rdkafka)
    if(NOT RdKafka_FOUND)
        message(WARNING "librdkafka was not found: Kafka destinations will write to their disk files.")
        set(QZLOG_WITH_KAFKA OFF)
    endif()
endif()
