# Fails when an include or a symbol breaks the layers. Run as: cmake -D SOURCE_DIR=<top of the tree>
# -D ARCHIVES=<folder of src/>=<its static library>,... -D NM=<nm> -P CheckLayers.cmake
cmake_minimum_required(VERSION 3.25)

# Dependencies point down only, so a file of src/ may include from its own layer and from those before it
# in this list, and a library needs no symbol of another.
set(layers os support filesystem message root destination routing module)

# These stand apart: below them is support/, and nobody but the module uses them.
set(layers_apart masking trace)

# Headers of the system, which only the operating-system and support layers may use.
set(system_header "^(fcntl|unistd|pthread|signal|syslog|dirent|errno|sys/.*|uuid/.*|netinet/.*|arpa/.*)(\\.h)?$")

set(faults "")

function(may_use from to result)
    set(${result} FALSE PARENT_SCOPE)
    list(FIND layers "${from}" from_rank)
    list(FIND layers "${to}" to_rank)
    list(FIND layers support support_rank)

    if(to IN_LIST layers_apart)
        if(from STREQUAL to OR from STREQUAL "module")
            set(${result} TRUE PARENT_SCOPE)
        endif()
    elseif(from IN_LIST layers_apart)
        if(to_rank GREATER -1 AND NOT to_rank GREATER support_rank)
            set(${result} TRUE PARENT_SCOPE)
        endif()
    elseif(to_rank GREATER -1 AND NOT to_rank GREATER from_rank)
        set(${result} TRUE PARENT_SCOPE)
    endif()
endfunction()

function(check_include file include)
    string(REGEX MATCH "^[^/]+" from "${file}")
    string(REGEX MATCH "^[^/]+" to "${include}")
    may_use("${from}" "${to}" is_allowed)
    if(NOT is_allowed)
        list(APPEND faults "src/${file} includes \"${include}\": ${from} must not know ${to}")
        set(faults "${faults}" PARENT_SCOPE)
    endif()
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
            if(include MATCHES "^(Qz|Kafka)" AND file MATCHES "^os/")
                list(APPEND faults "src/${file} includes <${include}>: os must not know support")
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

# Public headers declare what stands in any layer, so that only the libraries tell who calls up. Looked at are the names
# of this project; the variables defined_in_<symbol> hold the layers that define one, which for an inline function can
# be several.
string(REPLACE "," ";" archives "${ARCHIVES}")
foreach(archive IN LISTS archives)
    string(REGEX MATCH "^([^=/]+)[^=]*=(.+)$" matched "${archive}")
    set(layer "${CMAKE_MATCH_1}")
    execute_process(COMMAND "${NM}" -g -P "${CMAKE_MATCH_2}"
        OUTPUT_VARIABLE symbols ERROR_VARIABLE error RESULT_VARIABLE result)
    string(REGEX MATCHALL "[A-Za-z_][^ \n]*(Qz|Kafka)[^ \n]* [A-Za-z]" symbols "${symbols}")
    if(result OR NOT symbols)
        list(APPEND faults "the symbols of src/${layer} are not known: ${error}")
    endif()
    foreach(symbol IN LISTS symbols)
        string(REGEX REPLACE " .$" "" name "${symbol}")
        if(symbol MATCHES " [Uwv]$")
            list(APPEND needed_by_${layer} "${name}")
        else()
            list(APPEND defined_in_${name} "${layer}")
        endif()
    endforeach()
endforeach()

foreach(layer IN LISTS layers layers_apart)
    if(NOT needed_by_${layer})
        list(APPEND faults "no library of src/${layer} was given")
    endif()
    list(REMOVE_DUPLICATES needed_by_${layer})
    foreach(symbol IN LISTS needed_by_${layer})
        set(is_found FALSE)
        foreach(to IN LISTS defined_in_${symbol})
            may_use("${layer}" "${to}" is_allowed)
            if(is_allowed)
                set(is_found TRUE)
                break()
            endif()
        endforeach()
        if(defined_in_${symbol} AND NOT is_found)
            list(APPEND faults "src/${layer} needs ${symbol}, which stands in src/${defined_in_${symbol}}")
        endif()
    endforeach()
endforeach()

if(faults)
    list(JOIN faults "\n  " text)
    message(FATAL_ERROR "What breaks the layers:\n  ${text}")
endif()
