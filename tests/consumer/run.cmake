# Installs the build into a private folder, builds the foreign project against it and runs that.
# Run as: cmake -D BINARY_DIR=<build> -D SOURCE_DIR=<this folder> -D WORK_DIR=<private> -D COMPILER=<c++>
#   -D WITH_KIT=<whether it has the kit> -P run.cmake

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed (${result}):\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${WORK_DIR}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS} -DWITH_KIT=${WITH_KIT})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)

function(run_consumer)
    run(${ARGN} ${WORK_DIR}/build/consumer)
    foreach(line IN ITEMS "[Consumer][Info]" "Hello from the installed package, 2 calls" "thrown and caught"
            LISTS expected)
        string(FIND "${output}" "${line}" position)
        if(position EQUAL -1)
            message(FATAL_ERROR "'${line}' is missing in:\n${output}")
        endif()
    endforeach()
endfunction()

# The Kafka module is found beside the library, or beside the file that the library is a link to. Without it there is
# an error that says where it was looked for.
file(GLOB_RECURSE library ${WORK_DIR}/prefix/libQzLog2_64.so.1)
cmake_path(GET library PARENT_PATH folder)
set(module ${folder}/libQzLogKafka.so.1)
if(EXISTS ${module})
    set(expected "property 'no.such.property'" "librdkafka is loaded")
    run_consumer()
    file(MAKE_DIRECTORY ${WORK_DIR}/links)
    file(CREATE_LINK ${library} ${WORK_DIR}/links/libQzLog2_64.so.1 SYMBOLIC)
    run_consumer(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${WORK_DIR}/links)
    file(REMOVE ${module})
endif()
set(expected "the Kafka module cannot be loaded: '${module}': " "librdkafka is not loaded")
run_consumer()

if(WITH_KIT)
    run(${WORK_DIR}/build/kit_consumer)
    foreach(line IN ITEMS "UID:alice］" "Hello from the kit␊" "Held back 2 messages of Consumer/Info since ")
        string(FIND "${output}" "${line}" position)
        if(position EQUAL -1)
            message(FATAL_ERROR "'${line}' is missing in:\n${output}")
        endif()
    endforeach()
endif()

# pkg-config answers with the prefix that was installed to.
file(GLOB_RECURSE pc_file ${WORK_DIR}/prefix/*/qzlog.pc)
run(pkg-config --variable=includedir ${pc_file})
string(STRIP "${output}" includes)
file(REAL_PATH "${includes}" includes)
if(NOT includes STREQUAL ${WORK_DIR}/prefix/include)
    message(FATAL_ERROR "pkg-config names ${includes}")
endif()

# A standard that is too old is the first that the compiler tells.
execute_process(COMMAND ${COMPILER} -std=c++17 -fsyntax-only -I ${includes} ${SOURCE_DIR}/main.cpp ERROR_VARIABLE output)
string(REGEX MATCH "error:[^\n]*" first "${output}")
if(NOT first MATCHES "needs C\\+\\+20")
    message(FATAL_ERROR "With C++17 the compiler says: ${first}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
