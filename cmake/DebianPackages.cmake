# One Debian package for each component: "vellomir" for the window, "vellomir-cli", and the library's
# two, which are named after its interface. ./package runs CPack with this.
get_target_property(abi vellomir-archive-shared SOVERSION)
set(libraryPackage libvellomir-archive${abi})
set(developmentPackage libvellomir-archive-dev)

# The maintainer, as Debian's own tools ask for it. The address without one is reserved for examples.
set(fullName $ENV{DEBFULLNAME})
set(address $ENV{DEBEMAIL})
if(NOT fullName OR NOT address)
    set(fullName "The Vellomir developers")
    set(address vellomir@example.org)
endif()
set(maintainer "${fullName} <${address}>")

# --- Files that Debian wants in every package ---------------------------------------------------------

set(documents ${PROJECT_BINARY_DIR}/debian)
set(debianVersion ${PROJECT_VERSION}) # No revision: the tree has its packaging in it.
string(TIMESTAMP debianDate "%a, %d %b %Y %H:%M:%S +0000" UTC) # or that of SOURCE_DATE_EPOCH
configure_file(packaging/debian/changelog.in ${documents}/changelog @ONLY)
find_program(GZIP gzip REQUIRED)

# vellomir_debian_documents(COMPONENT PACKAGE)
function(vellomir_debian_documents component package)
    set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
    set(output ${documents}/${component})
    file(MAKE_DIRECTORY ${output})
    configure_file(${documents}/changelog ${output}/changelog COPYONLY)
    configure_file(CHANGELOG.md ${output}/CHANGELOG.md COPYONLY)
    execute_process(COMMAND ${GZIP} -9nf changelog CHANGELOG.md WORKING_DIRECTORY ${output}
        COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${output}/changelog.gz ${output}/CHANGELOG.md.gz packaging/debian/copyright
        DESTINATION ${folder} COMPONENT ${component})
endfunction()

vellomir_debian_documents(window vellomir)
vellomir_debian_documents(cli vellomir-cli)
vellomir_debian_documents(library ${libraryPackage})
vellomir_debian_documents(development ${developmentPackage})

# --- All packages -----------------------------------------------------------------------------------

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vellomir)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # Each package has its own.
set(CPACK_PACKAGE_VENDOR "The Vellomir developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL window cli library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE) # whatever the umask
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${VELLOMIR_HOMEPAGE}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# --- vellomir ---------------------------------------------------------------------------------------

# What shlibdeps does not see: modules of QML, the reader of SVG, and the font of the screens.
set(qmlPackages qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
    qml6-module-qtquick qml6-module-qtquick-layouts qml6-module-qtquick-templates
    qml6-module-qtquick-window libqt6svg6 fonts-inter)
list(JOIN qmlPackages ", " qmlDependencies)
set(CPACK_DEBIAN_WINDOW_PACKAGE_NAME vellomir)
set(CPACK_DEBIAN_WINDOW_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_WINDOW_PACKAGE_DEPENDS "vellomir-cli (= ${debianVersion}), ${qmlDependencies}")
set(CPACK_DEBIAN_WINDOW_PACKAGE_RECOMMENDS "qt6-wayland")
set(CPACK_COMPONENT_WINDOW_DESCRIPTION "make a second copy of an app package\n\
Vellomir makes a second copy of an iOS application package (.ipa) that can be\n\
installed beside the first one: with an identifier, names and, if wanted, an\n\
icon of its own.\n\
\n\
This package has the window.")

# --- vellomir-cli -----------------------------------------------------------------------------------

set(CPACK_DEBIAN_CLI_PACKAGE_NAME vellomir-cli)
set(CPACK_DEBIAN_CLI_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CLI_PACKAGE_RECOMMENDS qt6-image-formats-plugins) # WebP, TIFF
set(CPACK_COMPONENT_CLI_DESCRIPTION "copy app packages and change ZIP archives\n\
vellomir-cli makes a second copy of an iOS application package (.ipa) that can\n\
be installed beside the first one. It also lists, tests, unpacks, makes and\n\
changes any ZIP and ZIP64 archive, in a way that a crash or a full disk leaves\n\
the old file or the new one, never half of it.\n\
\n\
This package has the command line, and the program that decodes pictures in a\n\
process with limits.")

# --- libvellomir-archive3 and libvellomir-archive-dev --------------------------------------------------

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${libraryPackage})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# Which package others depend on that link the library; and the linker's cache follows.
file(CONFIGURE OUTPUT ${documents}/shlibs
    CONTENT "libvellomir-archive ${abi} ${libraryPackage} (>= ${debianVersion})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    "${documents}/shlibs;${PROJECT_SOURCE_DIR}/packaging/debian/triggers")
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/WithoutScripts.cmake)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "ZIP and ZIP64 engine, shared library\n\
Reads, writes and changes ZIP and ZIP64 archives, on disk and in memory, with\n\
progress and cancellation, and unpacks untrusted ones below one folder only.\n\
\n\
This package has the shared library.")

set(developmentDependencies "${libraryPackage} (= ${debianVersion})" zlib1g-dev)
if(ISAL_FOUND)
    list(APPEND developmentDependencies libisal-dev)
endif()
list(JOIN developmentDependencies ", " developmentDependencies)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${developmentPackage})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${developmentDependencies}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "ZIP and ZIP64 engine, headers and static library\n\
Reads, writes and changes ZIP and ZIP64 archives, on disk and in memory, with\n\
progress and cancellation, and unpacks untrusted ones below one folder only.\n\
\n\
This package has what programs in C++ need that use it.")

include(CPack)
