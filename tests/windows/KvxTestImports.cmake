# Linking a g++-compiled Windows test program against the module.
#
# The module exports its plain functions undecorated and its C++ functions
# under their MSVC names. The program is linked against the DLL itself, whose
# plain names ld's stdcall fix-up binds to the header's name@N symbols; the
# C++ functions come from a small import library made from the catalogue's
# MinGW column, which maps each g++ name to the MSVC name the module exports.

# kvx_link_module_for_tests(<target> <catalogue>)
function(kvx_link_module_for_tests target catalogue)
  find_program(KVX_DLLTOOL NAMES ${KVX_MINGW_PREFIX}-dlltool REQUIRED)
  kvx_read_exports(${catalogue} cat)
  set(def "LIBRARY KelvoCalibrate.kvx\nEXPORTS\n")
  foreach(i IN LISTS cat_BUILT)
    list(GET cat_KIND ${i} kind)
    if(kind STREQUAL "cpp")
      list(GET cat_MINGW ${i} mingw)
      list(GET cat_MSVC ${i} msvc)
      string(APPEND def "${mingw} == ${msvc}\n")
    endif()
  endforeach()
  set(dir ${CMAKE_CURRENT_BINARY_DIR})
  # Rewritten only when it changes, so that a new configure relinks nothing.
  file(WRITE ${dir}/kvx_cxx_imports.def.new "${def}")
  configure_file(${dir}/kvx_cxx_imports.def.new ${dir}/kvx_cxx_imports.def
                 COPYONLY)
  add_custom_command(OUTPUT ${dir}/libkvx_cxx_imports.a
    COMMAND ${KVX_DLLTOOL} -d ${dir}/kvx_cxx_imports.def
            -l ${dir}/libkvx_cxx_imports.a
    DEPENDS ${dir}/kvx_cxx_imports.def VERBATIM)
  add_custom_target(${target}_cxx_imports DEPENDS ${dir}/libkvx_cxx_imports.a)
  add_dependencies(${target} ${target}_cxx_imports)
  add_dependencies(${target} KelvoCalibrate)
  target_link_libraries(${target} PRIVATE ${dir}/libkvx_cxx_imports.a
                        $<TARGET_FILE:KelvoCalibrate>)
  target_link_options(${target} PRIVATE -Wl,--enable-stdcall-fixup)
endfunction()
