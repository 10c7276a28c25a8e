# The Windows module's export table holds exactly the built exports of the
# catalogue, each under its name (decorated for the C++ exports) and its
# ordinal, nothing exported by ordinal only, and the DLL imports system DLLs
# only (the GCC, C++ and thread runtimes are linked in statically).
#   cmake -DOBJDUMP=i686-w64-mingw32-objdump -DMODULE=KelvoCalibrate.kvx
#         -DLIST=exports.txt -P <this>
include(${CMAKE_CURRENT_LIST_DIR}/check_common.cmake)
kvx_require(OBJDUMP MODULE LIST)

if(NOT EXISTS "${MODULE}")
  message(FATAL_ERROR "${MODULE} does not exist: build the Windows module first")
endif()
execute_process(COMMAND ${OBJDUMP} -p ${MODULE}
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} failed on ${MODULE}: ${err}")
endif()
if(NOT out MATCHES "Ordinal Base ([0-9]+)")
  message(FATAL_ERROR "${MODULE} has no export table")
endif()
set(base ${CMAKE_MATCH_1})

string(REPLACE "\n" ";" lines "${out}")
set(section "")
set(actual "")
set(addressed 0)
set(imports "")
foreach(line IN LISTS lines)
  if(line MATCHES "^Export Address Table")
    set(section eat)
  elseif(line MATCHES "^\\[Ordinal/Name Pointer\\] Table")
    set(section names)
  elseif(line MATCHES "^[ \t]*$")
    set(section "")
  elseif(section STREQUAL "eat" AND line MATCHES "^[ \t]*\\[ *[0-9]+\\] \\+base\\[ *[0-9]+\\]")
    math(EXPR addressed "${addressed} + 1")
  elseif(section STREQUAL "names"
         AND line MATCHES "^[ \t]*\\[ *([0-9]+)\\] \\+base\\[ *([0-9]+)\\] +[0-9a-fA-F]* *([^ ]+)$")
    # Newer binutils print the ordinal beside the table index.
    list(APPEND actual "${CMAKE_MATCH_2} ${CMAKE_MATCH_3}")
  elseif(section STREQUAL "names" AND line MATCHES "^[ \t]*\\[ *([0-9]+)\\] ([^ ]+)$")
    # binutils 2.40 prints the index into the address table: ordinal - base.
    math(EXPR ordinal "${CMAKE_MATCH_1} + ${base}")
    list(APPEND actual "${ordinal} ${CMAKE_MATCH_2}")
  endif()
  if(line MATCHES "^[ \t]*DLL Name: (.+)$")
    list(APPEND imports "${CMAKE_MATCH_1}")
  endif()
endforeach()

kvx_expected_exports(${LIST} windows expected)
kvx_compare("export table of ${MODULE}" expected actual)

list(LENGTH actual named)
if(NOT addressed EQUAL named)
  message(FATAL_ERROR "${MODULE}: ${addressed} exported addresses but ${named} "
                      "names: something is exported by ordinal only")
endif()

set(foreign "")
foreach(dll IN LISTS imports)
  string(TOLOWER "${dll}" lower)
  if(NOT lower MATCHES "^(kernel32|msvcrt|user32|advapi32|ntdll|ucrtbase|api-ms-win-[a-z0-9-]+)\\.dll$")
    list(APPEND foreign "${dll}")
  endif()
endforeach()
if(foreign)
  message(FATAL_ERROR "${MODULE} imports non-system DLLs: ${foreign}")
endif()
message(STATUS "${MODULE} imports: ${imports}")
