# Installs the built module into a scratch prefix, builds the consumer project
# against the installed package and runs it (CTest: Packaging.*).
#   cmake -DBUILD_DIR=<kvx build> -DWORK_DIR=<scratch> -DGENERATOR=<gen>
#         [-DTOOLCHAIN=<file>] [-DEXTRA_FLAGS=<flags>] -P <this>
cmake_minimum_required(VERSION 3.20)
foreach(v BUILD_DIR WORK_DIR GENERATOR)
  if(NOT DEFINED ${v})
    message(FATAL_ERROR "missing -D${v}=...")
  endif()
endforeach()

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc
                  OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}")
  endif()
  message("${out}")
endfunction()

set(prefix ${WORK_DIR}/prefix)
set(consumer ${WORK_DIR}/consumer)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(args -S ${CMAKE_CURRENT_LIST_DIR} -B ${consumer} -G ${GENERATOR}
         -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Debug)
if(TOOLCHAIN)
  list(APPEND args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
if(EXTRA_FLAGS)
  list(APPEND args "-DCMAKE_CXX_FLAGS=${EXTRA_FLAGS}"
                   "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_FLAGS}")
endif()
run(${CMAKE_COMMAND} ${args})
run(${CMAKE_COMMAND} --build ${consumer})

set(ran 0)
foreach(host consumer_cmake consumer_pkgconfig)
  if(EXISTS ${consumer}/${host})
    run(${consumer}/${host})
    math(EXPR ran "${ran} + 1")
  endif()
endforeach()
if(ran EQUAL 0)
  message(FATAL_ERROR "no consumer was built")
endif()
