# Installs the programs for people, as the component "programs": the window, its place in the
# desktop's menus and "Open with", and the command line. The result can be moved to another place.
include(GNUInstallDirs)

set(share ${CMAKE_INSTALL_DATAROOTDIR})

install(TARGETS vellomir vellomir-cli COMPONENT programs)
# Beside the programs' folder, where they look for it.
set(codecs vellomir-pictures)
if(TARGET vellomir-heif)
    list(APPEND codecs vellomir-heif)
endif()
install(TARGETS ${codecs} LIBRARY DESTINATION lib/vellomir COMPONENT programs)

install(FILES packaging/vellomir.desktop DESTINATION ${share}/applications COMPONENT programs)
install(FILES packaging/vellomir-mime.xml DESTINATION ${share}/mime/packages
    RENAME vellomir.xml COMPONENT programs)
install(FILES packaging/vellomir.svg DESTINATION ${share}/icons/hicolor/scalable/apps
    COMPONENT programs)
