# Defines the files to install, including the CMake package for find_package(I18nResource CONFIG).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/I18nResource")
install(TARGETS I18nResource EXPORT I18nResourceTargets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/I18nResource")
install(TARGETS i18nres-satellites EXPORT I18nResourceTargets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
if(MSVC)
  install(FILES "$<TARGET_PDB_FILE:I18nResource>" DESTINATION "${CMAKE_INSTALL_BINDIR}")
else()
  install(FILES "$<TARGET_FILE:I18nResource>.debug" DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
install(EXPORT I18nResourceTargets NAMESPACE I18nResource:: DESTINATION "${package_dir}")
configure_package_config_file(cmake/I18nResourceConfig.cmake.in
                              "${PROJECT_BINARY_DIR}/I18nResourceConfig.cmake"
                              INSTALL_DESTINATION "${package_dir}"
                              NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/I18nResourceConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/I18nResourceConfig.cmake"
              "${PROJECT_BINARY_DIR}/I18nResourceConfigVersion.cmake"
              cmake/I18nResourceSatellites.cmake
              # The toolchain files for clients that are built with MinGW-w64.
              cmake/mingw.cmake cmake/mingw-clang.cmake cmake/mingw-gcc.cmake
        DESTINATION "${package_dir}")
install(FILES packaging/I18nResource.natvis DESTINATION "${CMAKE_INSTALL_DATADIR}/I18nResource")
install(FILES CHANGELOG.md LICENSE README.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" PATTERN Doxyfile EXCLUDE)
