# Installs the programs for people, as the component "programs": the window, its place in the
# desktop's menus and "Open with", and the command line. The result can be moved to another place.
include(GNUInstallDirs)

set(share ${CMAKE_INSTALL_DATAROOTDIR})

install(TARGETS vellomir vellomir-cli COMPONENT programs)
# Started by the others, which look for it here.
install(TARGETS vellomir-picture RUNTIME DESTINATION libexec/vellomir COMPONENT programs)

install(FILES packaging/vellomir.desktop DESTINATION ${share}/applications COMPONENT programs)
install(FILES packaging/vellomir-mime.xml DESTINATION ${share}/mime/packages
    RENAME vellomir.xml COMPONENT programs)
install(FILES packaging/vellomir.svg DESTINATION ${share}/icons/hicolor/scalable/apps
    COMPONENT programs)
