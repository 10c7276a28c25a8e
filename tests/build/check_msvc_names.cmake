# Re-derives the decorated names of the C++ exports: msvc_names.cpp declares
# them as a host of the interface does, after including the public header,
# and is compiled for 32-bit Windows with the MSVC name scheme. The names the
# compiler emits must be the catalogue's. Then the header's declarations of
# the built plain exports must all be __stdcall (symbol _Name@N): the .def
# file exports them without the suffix.
#   cmake -DCLANGXX=clang++ -DLLVM_NM=llvm-nm -DSOURCE=msvc_names.cpp
#         -DINCLUDE_DIR=include -DLIST=exports.txt -DWORK_DIR=<dir> -P <this>
include(${CMAKE_CURRENT_LIST_DIR}/check_common.cmake)
kvx_require(SOURCE INCLUDE_DIR LIST WORK_DIR)

if(NOT CLANGXX OR NOT LLVM_NM)
  # Matched by the test's SKIP_REGULAR_EXPRESSION.
  message("KVX-SKIP: clang++ or llvm-nm is not installed, so the MSVC names "
          "cannot be re-derived (apt-get install clang llvm)")
  return()
endif()

file(MAKE_DIRECTORY ${WORK_DIR})
set(object ${WORK_DIR}/msvc_names.obj)
execute_process(
  COMMAND ${CLANGXX} --target=i686-pc-windows-msvc -std=c++20 -c
          -I${INCLUDE_DIR} ${SOURCE} -o ${object}
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the declarations do not compile for i686-pc-windows-msvc "
                      "(has the header's declaration of a C++ export drifted?):\n${err}")
endif()
kvx_nm_symbols("^[ \t0-9a-fA-F]*U (\\?[^ ]+)$" actual ${LLVM_NM} ${object})

# Every C++ export of the catalogue, built or not.
kvx_read_exports(${LIST} e)
set(expected "")
foreach(kind msvc IN ZIP_LISTS e_KIND e_MSVC)
  if(kind STREQUAL "cpp")
    list(APPEND expected "${msvc}")
  endif()
endforeach()
kvx_compare("MSVC decorated names" expected actual)

# The plain exports: a generated file references each built one through the
# header's declaration.
set(probe ${WORK_DIR}/plain_names.cpp)
set(text "#include \"KelvoCalibrate.h\"\nusing AnyFunction = void (*)();\n")
string(APPEND text "extern AnyFunction kvxPlainProbe[];\nAnyFunction kvxPlainProbe[] = {\n")
set(plain "")
foreach(kind status name IN ZIP_LISTS e_KIND e_STATUS e_NAME)
  if(kind STREQUAL "c" AND status STREQUAL "built")
    string(APPEND text "  reinterpret_cast<AnyFunction>(&${name}),\n")
    list(APPEND plain ${name})
  endif()
endforeach()
string(APPEND text "};\n")
file(WRITE ${probe} "${text}")
execute_process(
  COMMAND ${CLANGXX} --target=i686-pc-windows-msvc -std=c++20 -c
          -I${INCLUDE_DIR} ${probe} -o ${WORK_DIR}/plain_names.obj
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the header does not declare every built plain "
                      "export:\n${err}")
endif()
kvx_nm_symbols("^[ \t0-9a-fA-F]*U _([A-Za-z0-9_]+)@[0-9]+$" stdcall
               ${LLVM_NM} ${WORK_DIR}/plain_names.obj)
kvx_compare("__stdcall plain exports in the header" plain stdcall)
