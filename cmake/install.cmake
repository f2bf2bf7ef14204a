# Installed layout (GNUInstallDirs; with the prefix /usr on Debian the library directory is
# lib/<multiarch>):
#   LIBDIR/libkolib.so.1.x.y, libkolib.so.1 (soname), libkolib.so (development link)
#   LIBDIR/locale/en_US/LC_MESSAGES/kolib.mo and the locale links beside it, where the message
#     look-up finds them (beside the library)
#   INCLUDEDIR/kolib/*.h (with the generated version.h; testing.h is not installed)
#   LIBDIR/pkgconfig/kolib.pc, LIBDIR/cmake/kolib/ (find_package(kolib) gives kolib::kolib)
#   BINDIR/kotool, MANDIR/man1/kotool.1
include(CMakePackageConfigHelpers)

install(TARGETS kolib EXPORT kolibTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/kolib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  PATTERN testing.h EXCLUDE)
install(FILES ${CMAKE_BINARY_DIR}/include/kolib/version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kolib)

set(KOLIB_INSTALL_LOCALE ${CMAKE_INSTALL_LIBDIR}/locale)
install(FILES ${KOLIB_CATALOGUE_DIR}/kolib.mo DESTINATION ${KOLIB_INSTALL_LOCALE}/en_US/LC_MESSAGES)
# A locale link is made only where nothing else stands: an existing directory of that name
# (a system's own locale data, say) is never replaced.
foreach(alias ${KOLIB_LOCALE_LINKS})
  install(CODE "
    set(link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${KOLIB_INSTALL_LOCALE}/${alias}\")
    if(EXISTS \"\${link}\" AND NOT IS_SYMLINK \"\${link}\")
      message(WARNING \"kolib: \${link} exists and is not a link; left as it is\")
    else()
      file(CREATE_LINK en_US \"\${link}\" SYMBOLIC)
    endif()")
endforeach()

install(TARGETS kotool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
configure_file(docs/kotool.1.in ${CMAKE_BINARY_DIR}/kotool.1 @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kotool.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# pkg-config: the prefix is found from where kolib.pc lies, so a tree installed with
# `cmake --install --prefix DIR` or moved elsewhere still gives the right paths.
file(RELATIVE_PATH KOLIB_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/kolib.pc.in ${CMAKE_BINARY_DIR}/kolib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kolib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# CMake package.
set(KOLIB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kolib)
install(EXPORT kolibTargets NAMESPACE kolib:: DESTINATION ${KOLIB_CMAKE_DIR})
configure_package_config_file(cmake/kolibConfig.cmake.in ${CMAKE_BINARY_DIR}/kolibConfig.cmake
  INSTALL_DESTINATION ${KOLIB_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kolibConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/kolibConfig.cmake ${CMAKE_BINARY_DIR}/kolibConfigVersion.cmake
  DESTINATION ${KOLIB_CMAKE_DIR})

# Debian package (`make package` configures a build with the prefix /usr and runs cpack).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kolib)
set(CPACK_PACKAGE_VENDOR "kolib developers")
set(CPACK_PACKAGE_CONTACT "kolib developers <kolib@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "foundation library for ODBC drivers: OS layer, profiles, errors, parser, storage")
set(CPACK_PACKAGE_DESCRIPTION "kolib is the common foundation of a family of ODBC drivers: an \
operating-system layer, the ODBC configuration files through cached profile strings, error \
lists with catalogue messages, strings and containers, a run-time grammar compiler and parser, \
storage pieces and text conversion. This package holds the shared library, its message \
catalogue, the headers, pkg-config and CMake files, and the kotool command.")
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
find_program(KOLIB_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(KOLIB_DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1")
endif()
include(CPack)
