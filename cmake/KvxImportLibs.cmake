# Import libraries of the Windows module, for hosts that link against
# KelvoCalibrate.kvx instead of loading it by path:
#   KelvoCalibrate.lib       MSVC-ABI linkers (link.exe, lld-link)
#   libKelvoCalibrate.dll.a  MinGW-w64 (GNU ld), C and g++-compiled C++ hosts
# and, for hosts that resolve the exports themselves, their list:
#   KelvoCalibrate-exports.txt  ordinal and name of every export
#
# The DLL exports the plain functions without the stdcall suffix and the C++
# functions under their MSVC decorations, while a host's object files name
# them the way its compiler spells the header's declarations: _CalibCreate@8,
# ?CalibAddX_ROI@@YG?AW4NqeErrorCode@@KPAUX_ROI@@@Z, and for g++
# __Z13CalibAddX_ROImP5X_ROI@8. Those spellings are not typed anywhere: a probe
# that takes the address of every built export of the catalogue through the
# public header is compiled by each compiler, and the undefined symbols it
# leaves are what the import libraries must define. Each one then imports the
# DLL's own name. The C++ spellings are also held against the catalogue, so a
# header declaration that drifted from the DLL's function stops the build.
#
# The MinGW library comes from binutils' dlltool: only its import stubs can
# carry a symbol (g++'s mangling) that differs from the imported name (the
# MSVC decoration); llvm-dlltool would need weak aliases, which GNU ld does
# not resolve from an import library.
#
# Project use, in the MinGW configuration: kvx_add_import_libraries(<target>)
# Script use (what the build runs after linking the module):
#   cmake -DLIST=exports.txt -DINCLUDE_DIR=include -DWORK_DIR=<dir>
#         -DDLL_NAME=KelvoCalibrate.kvx -DMSVC_LIB=<out.lib>
#         -DMINGW_LIB=<out.dll.a> -DEXPORTS_LIST=<out.txt>
#         -DCLANGXX=clang++ -DLLVM_NM=llvm-nm
#         -DLLVM_DLLTOOL=llvm-dlltool -DMINGW_CXX=i686-w64-mingw32-g++
#         -DMINGW_NM=i686-w64-mingw32-nm -DMINGW_DLLTOOL=i686-w64-mingw32-dlltool
#         -P KvxImportLibs.cmake
if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  cmake_minimum_required(VERSION 3.20)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/KvxExports.cmake)

# _kvx_run(<what> <strict> <command>...): runs a command in WORK_DIR (dlltool
# leaves its temporary files there). With <strict> true, anything on stderr
# is a failure too: dlltool reports some .def errors and still exits 0.
function(_kvx_run what strict)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK_DIR}
                  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0 OR (strict AND NOT err STREQUAL ""))
    message(FATAL_ERROR "${what} failed (${rc}):\n${ARGN}\n${out}${err}")
  endif()
  set(KVX_RUN_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

# _kvx_probe_symbols(<name> <nm> <out> <compiler and flags>...): compiles the
# probe and lists the undefined symbols of the object in <out>.
function(_kvx_probe_symbols name nm out)
  set(object ${WORK_DIR}/probe-${name}.obj)
  _kvx_run("compiling the import probe (${name})" FALSE ${ARGN} -std=c++20 -c
           -I${INCLUDE_DIR} ${WORK_DIR}/probe.cpp -o ${object})
  kvx_nm_symbols("^[ \t]+U ([^ ]+)$" symbols ${nm} ${object})
  set(${out} "${symbols}" PARENT_SCOPE)
endfunction()

# _kvx_find_symbol(<symbols> <regex> <out>): the one symbol matching <regex>,
# or "" when none does.
function(_kvx_find_symbol symbols regex out)
  set(found "")
  foreach(symbol IN LISTS symbols)
    if(symbol MATCHES "${regex}")
      set(found "${symbol}")
    endif()
  endforeach()
  set(${out} "${found}" PARENT_SCOPE)
endfunction()

# _kvx_check_library(<nm> <library> <symbols>): every symbol a host may
# reference is defined by the library, with its __imp_ pointer.
function(_kvx_check_library nm library symbols)
  kvx_nm_symbols("^[0-9a-fA-F]+ [TI] __imp_([^ ]+)$" defined ${nm} ${library})
  foreach(symbol IN LISTS symbols)
    if(NOT symbol IN_LIST defined)
      message(FATAL_ERROR "${library} does not define ${symbol}")
    endif()
  endforeach()
endfunction()

function(kvx_make_import_libraries)
  kvx_read_exports("${LIST}" e)
  file(MAKE_DIRECTORY ${WORK_DIR})

  # The probe: one address per built export, through the header alone.
  set(probe "// Generated from ${LIST}.\n#include \"KelvoCalibrate.h\"\n")
  string(APPEND probe "using AnyFunction = void (*)();\n"
         "extern AnyFunction kvxImportProbe[];\n"
         "AnyFunction kvxImportProbe[] = {\n")
  foreach(i IN LISTS e_BUILT)
    list(GET e_NAME ${i} name)
    string(APPEND probe "    reinterpret_cast<AnyFunction>(&${name}),\n")
  endforeach()
  string(APPEND probe "};\n")
  file(WRITE ${WORK_DIR}/probe.cpp "${probe}")
  _kvx_probe_symbols(msvc ${LLVM_NM} msvc_symbols ${CLANGXX}
                     --target=i686-pc-windows-msvc)
  _kvx_probe_symbols(mingw ${MINGW_NM} mingw_symbols ${MINGW_CXX})

  # dlltool's .def names drop the leading underscore of i386 C symbols; -k
  # (--kill-at) makes a plain name@N import the DLL's name without @N.
  set(head "; Generated from ${LIST}; edit that file instead.\n")
  string(APPEND head "LIBRARY \"${DLL_NAME}\"\nEXPORTS\n")
  set(msvc_def "${head}")
  set(mingw_def "${head}")
  set(msvc_refs "")
  set(mingw_refs "")
  foreach(i IN LISTS e_BUILT)
    list(GET e_ORDINAL ${i} ordinal)
    list(GET e_KIND ${i} kind)
    list(GET e_NAME ${i} name)
    if(kind STREQUAL "c")
      # A plain export is a __stdcall C function: _Name@bytes in both ABIs.
      _kvx_find_symbol("${msvc_symbols}" "^_${name}@[0-9]+$" msvc)
      _kvx_find_symbol("${mingw_symbols}" "^_${name}@[0-9]+$" mingw)
      if(msvc STREQUAL "" OR NOT msvc STREQUAL mingw)
        message(FATAL_ERROR "${name}: the header does not declare it as a "
                            "__stdcall C function (MSVC '${msvc}', MinGW '${mingw}')")
      endif()
      string(SUBSTRING "${msvc}" 1 -1 entry)
      string(APPEND msvc_def "  ${entry} @${ordinal}\n")
      string(APPEND mingw_def "  ${entry} @${ordinal}\n")
    else()
      # A C++ export: the DLL exports the catalogue's MSVC decoration; g++
      # hosts reach it through their own mangling of the same declaration.
      list(GET e_MSVC ${i} decorated)
      list(GET e_MINGW ${i} expected)
      string(LENGTH "${name}" length)
      set(msvc "")
      if(decorated IN_LIST msvc_symbols)
        set(msvc "${decorated}")
      endif()
      _kvx_find_symbol("${mingw_symbols}" "^__Z${length}${name}[^@]*@[0-9]+$" mingw)
      if(msvc STREQUAL "" OR NOT mingw STREQUAL "_${expected}")
        message(FATAL_ERROR "${name}: the header's declaration differs from "
                            "the module's function (MSVC: expected ${decorated}; "
                            "g++: expected _${expected}, got '${mingw}')")
      endif()
      string(SUBSTRING "${mingw}" 1 -1 entry)
      string(APPEND msvc_def "  ${decorated} @${ordinal}\n")
      string(APPEND mingw_def "  ${entry} @${ordinal} == \"${decorated}\"\n")
    endif()
    list(APPEND msvc_refs "${msvc}")
    list(APPEND mingw_refs "${mingw}")
  endforeach()
  file(WRITE ${WORK_DIR}/msvc.def "${msvc_def}")
  file(WRITE ${WORK_DIR}/mingw.def "${mingw_def}")

  _kvx_run("llvm-dlltool" TRUE ${LLVM_DLLTOOL} -m i386 -k -d ${WORK_DIR}/msvc.def
           -l ${MSVC_LIB})
  # Over the import library GNU ld wrote while linking, which names the
  # plain exports without @N and the C++ ones with an extra underscore.
  file(REMOVE ${MINGW_LIB})
  _kvx_run("dlltool" TRUE ${MINGW_DLLTOOL} -k -d ${WORK_DIR}/mingw.def
           -l ${MINGW_LIB})
  # The names as GetProcAddress takes them.
  kvx_expected_exports("${LIST}" windows listed)
  string(CONCAT text
         "; Exports of ${DLL_NAME} (32-bit Windows, __stdcall): ordinal and\n"
         "; the name GetProcAddress takes (or MAKEINTRESOURCEA(ordinal)).\n")
  foreach(item IN LISTS listed)
    string(APPEND text "${item}\n")
  endforeach()
  file(WRITE ${EXPORTS_LIST} "${text}")
  _kvx_check_library(${LLVM_NM} ${MSVC_LIB} "${msvc_refs}")
  _kvx_check_library(${MINGW_NM} ${MINGW_LIB} "${mingw_refs}")
  list(LENGTH e_BUILT count)
  message(STATUS "Import libraries for ${count} exports: ${MSVC_LIB}, ${MINGW_LIB}")
endfunction()

# kvx_add_import_libraries(<target>): after each link of the module, makes
# both import libraries and the export list beside it (the MinGW library
# replaces the target's own) and installs the MSVC library and the list.
function(kvx_add_import_libraries target)
  find_program(KVX_IMPLIB_CLANGXX NAMES clang++ clang++-19 clang++-18
               clang++-17 clang++-16 clang++-15 clang++-14)
  find_program(KVX_IMPLIB_LLVM_NM NAMES llvm-nm llvm-nm-19 llvm-nm-18
               llvm-nm-17 llvm-nm-16 llvm-nm-15 llvm-nm-14)
  find_program(KVX_IMPLIB_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-19
               llvm-dlltool-18 llvm-dlltool-17 llvm-dlltool-16
               llvm-dlltool-15 llvm-dlltool-14)
  foreach(tool KVX_IMPLIB_CLANGXX KVX_IMPLIB_LLVM_NM KVX_IMPLIB_LLVM_DLLTOOL
          CMAKE_NM CMAKE_DLLTOOL)
    if(NOT ${tool})
      message(FATAL_ERROR "${tool} not found: the import libraries need clang, "
              "llvm and binutils-mingw-w64-i686 (or -DKVX_IMPORT_LIBRARIES=OFF)")
    endif()
  endforeach()
  set(msvc_lib $<TARGET_FILE_DIR:${target}>/KelvoCalibrate.lib)
  set(listing $<TARGET_FILE_DIR:${target}>/KelvoCalibrate-exports.txt)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -DLIST=${KVX_EXPORT_LIST}
            -DINCLUDE_DIR=${PROJECT_SOURCE_DIR}/include
            -DWORK_DIR=${PROJECT_BINARY_DIR}/import-libraries
            -DDLL_NAME=$<TARGET_FILE_NAME:${target}> -DMSVC_LIB=${msvc_lib}
            -DMINGW_LIB=$<TARGET_LINKER_FILE:${target}>
            -DEXPORTS_LIST=${listing}
            -DCLANGXX=${KVX_IMPLIB_CLANGXX} -DLLVM_NM=${KVX_IMPLIB_LLVM_NM}
            -DLLVM_DLLTOOL=${KVX_IMPLIB_LLVM_DLLTOOL}
            -DMINGW_CXX=${CMAKE_CXX_COMPILER} -DMINGW_NM=${CMAKE_NM}
            -DMINGW_DLLTOOL=${CMAKE_DLLTOOL}
            -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
    COMMENT "Import libraries KelvoCalibrate.lib and $<TARGET_LINKER_FILE_NAME:${target}>"
    VERBATIM)
  install(FILES ${msvc_lib} ${listing} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  foreach(var LIST INCLUDE_DIR WORK_DIR DLL_NAME MSVC_LIB MINGW_LIB EXPORTS_LIST
          CLANGXX LLVM_NM LLVM_DLLTOOL MINGW_CXX MINGW_NM MINGW_DLLTOOL)
    if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
      message(FATAL_ERROR "KvxImportLibs.cmake: -D${var}=... is required")
    endif()
  endforeach()
  kvx_make_import_libraries()
endif()
