# make install: the shared library, the public headers, a CMake package
# (find_package(Quillbox) gives Quillbox::quillbox) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS quillbox EXPORT QuillboxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/quillbox DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT QuillboxTargets NAMESPACE Quillbox::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillbox)

configure_package_config_file(cmake/QuillboxConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/QuillboxConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillbox)
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/QuillboxConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/QuillboxConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/QuillboxConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Quillbox)

configure_file(cmake/quillbox.pc.in ${CMAKE_CURRENT_BINARY_DIR}/quillbox.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quillbox.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
