# Fails when a library exports anything but what its public headers declare, or lacks what the last release exported: a
# name holds the types of the parameters too. Run as:
# cmake -D LIBRARY=<the library> -D NAMESPACES=<its own, with | between them> -D NM=<nm> [-D RELEASED=<packaging/symbols>]
#   -P CheckExports.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)

set(tables "((construction )?vtable for |VTT for |typeinfo (name )?for |(non-)?virtual thunk to )?")
set(faces "(${NAMESPACES})::")
# The implementations that users derive from or hold by value; all others stay inside.
set(open_implementations "[:~](Destination|Timestamp)_Impl")

string(REPLACE ";" "," output "${output}")
string(REGEX REPLACE "\n$" "" output "${output}")
string(REPLACE "\n" ";" lines "${output}")
set(faults "")
set(count 0)
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[0-9a-f]+ . " "" name "${line}")
    math(EXPR count "${count} + 1")
    if(NOT name MATCHES "^${tables}${faces}")
        list(APPEND faults "${name}")
        continue()
    endif()
    string(REGEX REPLACE "${open_implementations}" "" name_of_others "${name}")
    if(name_of_others MATCHES "_Impl|QzFileSystem|QzOs|ForkHold|ModuleMain")
        list(APPEND faults "${name}")
    endif()
endforeach()

if(count EQUAL 0)
    list(APPEND faults "no name at all")
endif()
if(faults)
    list(JOIN faults "\n  " text)
    message(FATAL_ERROR "Exported, but no part of the public headers:\n  ${text}")
endif()

message(STATUS "${count} names, all of the public headers")
if(NOT RELEASED)
    return()
endif()

execute_process(COMMAND ${NM} -D --defined-only -j ${LIBRARY} OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
# Only one of the compilers gives abstract classes constructors of whole objects.
file(STRINGS ${RELEASED} released REGEX "@Base")
list(FILTER released EXCLUDE REGEX "Destination_(Impl|DiskFile)C1E")
set(missing "")
foreach(line IN LISTS released)
    string(REGEX REPLACE "^ (.*)@Base.*" "\\1" name "${line}")
    string(FIND "\n${exported}" "\n${name}\n" place)
    if(place EQUAL -1)
        list(APPEND missing "${name}")
    endif()
endforeach()
if(missing OR NOT released)
    list(JOIN missing "\n  " text)
    message(FATAL_ERROR "Released, and not exported any more:\n  ${text}")
endif()
