# The libraries that QzLog stands on, from the distribution's packages.

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS stacktrace_backtrace)
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

if(QZLOG_WITH_JOURNAL)
    pkg_check_modules(Systemd IMPORTED_TARGET libsystemd)
    if(NOT Systemd_FOUND)
        message(WARNING "libsystemd was not found: the system log goes to the classic syslog socket.")
        set(QZLOG_WITH_JOURNAL OFF)
    endif()
endif()
