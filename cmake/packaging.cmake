# What is installed where, and the Debian packages made from it: each install component is one package.
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

# A directory may be absolute, wherever the rest goes; pkg-config finds the others from where its file lies.
file(RELATIVE_PATH toPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pcPrefix "\${pcfiledir}/${toPrefix}")
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pcPrefix ${CMAKE_INSTALL_PREFIX})
endif()
cmake_path(APPEND pcLibdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pcIncludedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR} velacreation)
configure_file(cmake/velacreation.pc.in velacreation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velacreation.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libvelacreation-dev)

# Debian wants documents compressed, without a time stamp.
function(install_compressed source destination component)
    get_filename_component(name ${source} NAME)
    set(compressed ${PROJECT_BINARY_DIR}/compressed/${component}/${name}.gz)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed/${component})
    add_custom_command(OUTPUT ${compressed}
        COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${source} > ${compressed}
        DEPENDS ${PROJECT_SOURCE_DIR}/${source} VERBATIM)
    add_custom_target(${component}-${name} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component})
endfunction()

install_compressed(docs/man/velacreate.1 ${CMAKE_INSTALL_MANDIR}/man1 velacreate)
install_compressed(docs/man/libvelacreation.3 ${CMAKE_INSTALL_MANDIR}/man3 libvelacreation-dev)
foreach(package libvelacreation1 libvelacreation-dev velacreate)
    set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
    install_compressed(cmake/debian/changelog ${documents} ${package})
    install(FILES cmake/debian/copyright DESTINATION ${documents} COMPONENT ${package})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL libvelacreation1 libvelacreation-dev velacreate)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "libvelacreation maintainers <maintainers@velacreation.invalid>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# Each package's description starts with a line of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(common "It builds ISO images, USB keys and packages for network boot from a tool
package and a list of update files.")

set(CPACK_COMPONENT_LIBVELACREATION1_DESCRIPTION "builder of bootable service media - library
${common}
.
This package holds the shared library.")
set(CPACK_DEBIAN_LIBVELACREATION1_PACKAGE_NAME libvelacreation1)
set(CPACK_DEBIAN_LIBVELACREATION1_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBVELACREATION1_PACKAGE_RECOMMENDS "unzip, zip, xorriso, wodim, dosfstools, fdisk, mount")
set(CPACK_DEBIAN_LIBVELACREATION1_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/cmake/debian/postinst
    ${PROJECT_SOURCE_DIR}/cmake/debian/postrm
    ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

set(CPACK_COMPONENT_LIBVELACREATION-DEV_DEPENDS libvelacreation1)
set(CPACK_COMPONENT_LIBVELACREATION-DEV_DESCRIPTION "builder of bootable service media - development files
${common}
.
This package holds the headers and what CMake and pkg-config need.")
set(CPACK_DEBIAN_LIBVELACREATION-DEV_PACKAGE_NAME libvelacreation-dev)
set(CPACK_DEBIAN_LIBVELACREATION-DEV_PACKAGE_SECTION libdevel)

set(CPACK_COMPONENT_VELACREATE_DEPENDS libvelacreation1)
set(CPACK_COMPONENT_VELACREATE_DESCRIPTION "builder of bootable service media - command
${common}
.
This package holds the command for technicians, with the programs that it runs.")
set(CPACK_DEBIAN_VELACREATE_PACKAGE_NAME velacreate)
set(CPACK_DEBIAN_VELACREATE_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_VELACREATE_PACKAGE_DEPENDS
    "unzip, zip, xorriso, genisoimage, wodim, dosfstools, fdisk, mount")
set(CPACK_DEBIAN_VELACREATE_PACKAGE_RECOMMENDS "dnsmasq-base")
set(CPACK_DEBIAN_VELACREATE_PACKAGE_SUGGESTS "bash-completion")

include(CPack)
