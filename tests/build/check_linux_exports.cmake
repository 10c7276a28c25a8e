# The ELF module exports exactly the built exports of the catalogue: the plain
# names, and the C++ exports under g++'s mangling of the header declarations.
# Nothing else: no std:: or kvx:: symbol, no runtime or test symbol.
#   cmake -DNM=nm -DMODULE=KelvoCalibrate.kvx -DLIST=exports.txt -P <this>
include(${CMAKE_CURRENT_LIST_DIR}/check_common.cmake)
kvx_require(NM MODULE LIST)

# "<address> <type> <name>"; names may carry a version ("name@@V").
kvx_nm_symbols("^[0-9a-fA-F]* *[A-Za-z] ([^ ]+)$" actual ${NM} -D --defined-only
               ${MODULE})
list(TRANSFORM actual PREPEND "0 ")

kvx_expected_exports(${LIST} linux expected)
kvx_compare("dynamic symbols of ${MODULE}" expected actual)
