# Fails when the library exports anything but the faces in include/. Run as:
# cmake -D LIBRARY=<libQzLog2_64.so> -D NM=<nm> -P CheckExports.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)

set(tables "((construction )?vtable for |VTT for |typeinfo (name )?for |(non-)?virtual thunk to )?")
set(faces "(QzLog|QzBase|QzSynch|QzDataType|QzResource|KafkaClient)::")
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

if(count LESS 300)
    list(APPEND faults "(only ${count} names: the faces themselves are missing)")
endif()
if(faults)
    list(JOIN faults "\n  " text)
    message(FATAL_ERROR "Exported, but no part of the public headers:\n  ${text}")
endif()
message(STATUS "${count} names, all of the public headers")
