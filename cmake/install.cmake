# The installation. Each component is meant for one package of a distribution.
install(TARGETS velacreation EXPORT VelaCreation
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT libvelacreation1 NAMELINK_COMPONENT libvelacreation-dev)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velacreation COMPONENT libvelacreation-dev)
install(EXPORT VelaCreation
    FILE VelaCreationConfig.cmake NAMESPACE VelaCreation::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelaCreation COMPONENT libvelacreation-dev)

include(CMakePackageConfigHelpers)
write_basic_package_version_file(VelaCreationConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VelaCreationConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VelaCreation COMPONENT libvelacreation-dev)

# Directories may be absolute. Others are relative to the .pc file, so that the installation can be moved.
file(RELATIVE_PATH toPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pcPrefix "\${pcfiledir}/${toPrefix}")
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pcPrefix ${CMAKE_INSTALL_PREFIX})
endif()
cmake_path(APPEND pcLibdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pcIncludedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR} velacreation)
cmake_path(APPEND pcToolkitdir "\${prefix}" ${launchersDir})
configure_file(cmake/velacreation.pc.in velacreation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velacreation.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libvelacreation-dev)

install(FILES docs/man/libvelacreation.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT libvelacreation-dev)
if(VELACREATION_FRONTEND)
    install(FILES docs/man/velacreate.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT velacreate)
    install(PROGRAMS demo/check-medium DESTINATION ${CMAKE_INSTALL_DATADIR}/velacreate COMPONENT velacreate)
endif()
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT libvelacreation1)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT velacreate)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT velacreate FILES_MATCHING PATTERN "*.md"
    PATTERN abi EXCLUDE PATTERN man EXCLUDE)
