# Installation of the module and its header, with a CMake package
# (find_package(KelvoCalibrate) -> KelvoCalibrate::KelvoCalibrate) and a
# pkg-config file. tests/consumer builds a host against the installed tree.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KVX_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/KelvoCalibrate)

target_include_directories(KelvoCalibrate PUBLIC
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS KelvoCalibrate EXPORT KelvoCalibrateTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/KelvoCalibrate.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT KelvoCalibrateTargets NAMESPACE KelvoCalibrate::
  DESTINATION ${KVX_INSTALL_CMAKEDIR})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/KelvoCalibrateConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KelvoCalibrateConfig.cmake
  INSTALL_DESTINATION ${KVX_INSTALL_CMAKEDIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/KelvoCalibrateConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KelvoCalibrateConfig.cmake
              ${PROJECT_BINARY_DIR}/KelvoCalibrateConfigVersion.cmake
  DESTINATION ${KVX_INSTALL_CMAKEDIR})

# The module has no lib prefix, so the pkg-config file names it by file
# (-l:KelvoCalibrate.kvx) rather than with -lKelvoCalibrate. The prefix is
# taken from the .pc file's own location, so the installed tree can move.
file(RELATIVE_PATH KVX_PC_TO_PREFIX
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" KVX_PC_TO_PREFIX "${KVX_PC_TO_PREFIX}")
# On Windows the linker takes the import library, not the DLL (bin/), named
# by file: with -static, -lKelvoCalibrate would find KelvoCalibrate.lib, the
# MSVC one, which lacks g++'s names of the C++ exports.
if(WIN32)
  set(KVX_PC_LIBS -l:libKelvoCalibrate.dll.a)
else()
  set(KVX_PC_LIBS -l:KelvoCalibrate.kvx)
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/KelvoCalibrate.pc.in
  ${PROJECT_BINARY_DIR}/KelvoCalibrate.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/KelvoCalibrate.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The reference pages with their C examples, and the sample data. A Windows
# tree keeps them at its top, beside bin/ and lib/.
if(WIN32)
  set(KVX_INSTALL_DOCDIR docs)
  set(KVX_INSTALL_SAMPLEDIR examples)
else()
  set(KVX_INSTALL_DOCDIR ${CMAKE_INSTALL_DOCDIR})
  set(KVX_INSTALL_SAMPLEDIR ${CMAKE_INSTALL_DATADIR}/KelvoCalibrate/examples)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${KVX_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/
        DESTINATION ${KVX_INSTALL_SAMPLEDIR})
