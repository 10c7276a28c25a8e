# The ELF module exports exactly the built exports of the catalogue: the plain
# names, and the C++ exports under g++'s mangling of the header declarations.
# Nothing else: no std:: or kvx:: symbol, no runtime or test symbol.
#   cmake -DNM=nm -DMODULE=KelvoCalibrate.kvx -DLIST=exports.txt -P <this>
include(${CMAKE_CURRENT_LIST_DIR}/check_common.cmake)
kvx_require(NM MODULE LIST)

execute_process(COMMAND ${NM} -D --defined-only ${MODULE}
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${MODULE}: ${err}")
endif()
string(REPLACE "\n" ";" lines "${out}")
set(actual "")
foreach(line IN LISTS lines)
  # "<address> <type> <name>"; names may carry a version ("name@@V").
  if(line MATCHES "^[0-9a-fA-F]* *[A-Za-z] ([^ ]+)$")
    list(APPEND actual "0 ${CMAKE_MATCH_1}")
  endif()
endforeach()

kvx_expected_exports(${LIST} linux expected)
kvx_compare("dynamic symbols of ${MODULE}" expected actual)
