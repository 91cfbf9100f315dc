# Installs the archive library for others, as two components: "library" is the shared library that
# programs need to run, "development" the headers, the static library, and what CMake and pkg-config
# know both by. The result can be moved to another place.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/vellomir) # "archive/Archive.h" is found below it.
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/VellomirArchive)
set(output ${CMAKE_CURRENT_BINARY_DIR}/package)

install(FILES ${publicHeaders} DESTINATION ${headers}/archive COMPONENT development)
# What they include of the layer below.
set(filesHeaders Error.h FileDescriptor.h FilePlace.h FileStatus.h PrintableText.h)
list(TRANSFORM filesHeaders PREPEND ${PROJECT_SOURCE_DIR}/files/)
install(FILES ${filesHeaders} DESTINATION ${headers}/files COMPONENT development)

# A file each: who links the shared library does without what the static one needs.
foreach(form IN ITEMS static shared)
    get_target_property(target VellomirArchive::${form} ALIASED_TARGET)
    install(TARGETS ${target} EXPORT VellomirArchive-${form}
        LIBRARY COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        INCLUDES DESTINATION ${headers})
    install(EXPORT VellomirArchive-${form} NAMESPACE VellomirArchive:: DESTINATION ${package}
        COMPONENT development)
endforeach()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/VellomirArchiveConfig.cmake.in
    ${output}/VellomirArchiveConfig.cmake INSTALL_DESTINATION ${package}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${output}/VellomirArchiveConfigVersion.cmake
    VERSION ${interfaceVersion} COMPATIBILITY SameMajorVersion)
install(FILES ${output}/VellomirArchiveConfig.cmake ${output}/VellomirArchiveConfigVersion.cmake
    DESTINATION ${package} COMPONENT development)

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE pkgConfigToPrefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
    OUTPUT_VARIABLE prefixToLibraries)

# vellomir_pkg_config(NAME LIBRARIES REQUIREMENTS)
function(vellomir_pkg_config name libraries requirements)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/vellomir-archive.pc.in ${output}/${name}.pc @ONLY)
    install(FILES ${output}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)
endfunction()

vellomir_pkg_config(vellomir-archive "-L\${libdir} -lvellomir-archive" "")
set(requirements zlib)
if(ISAL_FOUND)
    string(APPEND requirements " libisal")
endif()
vellomir_pkg_config(vellomir-archive-static "\${libdir}/libvellomir-archive.a" "${requirements}")
