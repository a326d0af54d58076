# Fails when an include breaks the layers. Run as: cmake -D SOURCE_DIR=<top of the tree> -P CheckLayers.cmake
cmake_minimum_required(VERSION 3.25)

# Dependencies point down only, so a file of src/ may include from its own layer and from those before it
# in this list.
set(layers os support filesystem message root destination routing module)

# These stand apart: below them is support/, and nobody but the module uses them.
set(layers_apart masking trace)

# Headers of the system, which only the operating-system and support layers may use.
set(system_header "^(fcntl|unistd|pthread|signal|syslog|dirent|errno|sys/.*|uuid/.*|netinet/.*|arpa/.*)(\\.h)?$")

set(faults "")

function(check_include file include)
    string(REGEX MATCH "^[^/]+" from "${file}")
    string(REGEX MATCH "^[^/]+" to "${include}")
    list(FIND layers "${from}" from_rank)
    list(FIND layers "${to}" to_rank)
    list(FIND layers support support_rank)

    if(to IN_LIST layers_apart)
        if(from STREQUAL to OR from STREQUAL "module")
            return()
        endif()
    elseif(from IN_LIST layers_apart)
        if(to_rank GREATER -1 AND NOT to_rank GREATER support_rank)
            return()
        endif()
    elseif(to_rank GREATER -1 AND NOT to_rank GREATER from_rank)
        return()
    endif()
    list(APPEND faults "src/${file} includes \"${include}\": ${from} must not know ${to}")
    set(faults "${faults}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}/src" "${SOURCE_DIR}/src/*.h" "${SOURCE_DIR}/src/*.cpp")
foreach(file IN LISTS files)
    file(STRINGS "${SOURCE_DIR}/src/${file}" lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
        if(line MATCHES "include[ \t]*\"([^\"]+)\"")
            check_include("${file}" "${CMAKE_MATCH_1}")
        elseif(line MATCHES "include[ \t]*<([^>]+)>")
            set(include "${CMAKE_MATCH_1}")
            if(include MATCHES "${system_header}" AND NOT file MATCHES "^(os/posix|support)/")
                list(APPEND faults "src/${file} includes <${include}>: a system header")
            endif()
        endif()
    endforeach()
endforeach()

# A public header stands on public headers and the standard library alone.
file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}/include" "${SOURCE_DIR}/include/*.h")
foreach(file IN LISTS files)
    file(STRINGS "${SOURCE_DIR}/include/${file}" lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
        if(NOT line MATCHES "<((Qz(Log|Base|Synch|DataType|Resource)|KafkaClient)/(details/)?[A-Za-z_0-9]+\\.h|[a-z_]+)>")
            list(APPEND faults "include/${file}: ${line}")
        endif()
    endforeach()
endforeach()

# What stands in a folder named details/ is for the public headers and the library itself.
file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}" "${SOURCE_DIR}/tools/*.h" "${SOURCE_DIR}/tools/*.cpp"
    "${SOURCE_DIR}/examples/*.h" "${SOURCE_DIR}/examples/*.cpp")
foreach(file IN LISTS files)
    file(STRINGS "${SOURCE_DIR}/${file}" lines REGEX "^[ \t]*#[ \t]*include.*<[A-Za-z]+/details/")
    foreach(line IN LISTS lines)
        list(APPEND faults "${file}: ${line}")
    endforeach()
endforeach()

# The operator's tool stands on public headers like any user, and of src/ on the scanner of headers alone.
file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}/tools/qzlog" "${SOURCE_DIR}/tools/qzlog/*.h"
    "${SOURCE_DIR}/tools/qzlog/*.cpp")
foreach(file IN LISTS files)
    file(STRINGS "${SOURCE_DIR}/tools/qzlog/${file}" lines REGEX "^[ \t]*#[ \t]*include")
    foreach(line IN LISTS lines)
        if(NOT line MATCHES "include[ \t]*\"([^\"]+)\"")
            continue()
        endif()
        set(include "${CMAKE_MATCH_1}")
        if(NOT include STREQUAL "message/HeaderScanner.h" AND NOT EXISTS "${SOURCE_DIR}/tools/qzlog/${include}")
            list(APPEND faults "tools/qzlog/${file} includes \"${include}\"")
        endif()
    endforeach()
endforeach()

if(faults)
    list(JOIN faults "\n  " text)
    message(FATAL_ERROR "Includes that break the layers:\n  ${text}")
endif()
