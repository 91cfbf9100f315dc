# Installs the programs for people, as two components: "cli" is the command line with the program that
# decodes pictures, "window" the window and its place in the desktop's menus and "Open with". The
# window uses the picture program of "cli". The result can be moved to another place.
include(GNUInstallDirs)

install(TARGETS vellomir-cli COMPONENT cli)
# Started by the others, which look for it here.
install(TARGETS vellomir-picture RUNTIME DESTINATION libexec/vellomir COMPONENT cli)
install(TARGETS vellomir COMPONENT window)
add_subdirectory(packaging)
