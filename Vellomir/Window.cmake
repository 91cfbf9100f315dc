# The window as a library, which the program and the tests link, and the program itself.
find_package(Qt6 6.4 REQUIRED COMPONENTS DBus Quick Widgets)
qt_standard_project_setup()
set(QT_QML_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/qml) # where qmllint looks for the module

set(qml_files
    CenteredTextField.qml
    CustomButtonStyle.qml
    ImageCropperView.qml
    InfoSheetView.qml
    LinkView.qml
    MainWindow.qml
    ModifyAppInfoView.qml
    ContentView/ActivityView.qml
    ContentView/AppLaunchView.qml
    ContentView/LogPanel.qml
    ContentView/LogRow.qml
    ContentView/LogSelection.qml
    ContentView/SendSheet.qml
    ContentView/ShareHeader.qml
    Controls/ActivityIndicator.qml
    Controls/AlertView.qml
    Controls/ButtonLabel.qml
    Controls/FileDropArea.qml
    Controls/FocusFollower.qml
    Controls/FocusRing.qml
    Controls/Hint.qml
    Controls/HintArea.qml
    Controls/ModalPopup.qml
    Controls/PlainButton.qml
    Controls/Pressable.qml
    Controls/Sheet.qml
    Controls/SheetRow.qml
    Controls/SheetText.qml
    Controls/Style.qml
    Controls/SymbolImage.qml
    Controls/VerticalScrollBar.qml
)
set_source_files_properties(Controls/Style.qml PROPERTIES QT_QML_SINGLETON_TYPE TRUE)

file(GLOB assets RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS Assets/*.svg)
set(launcher_icon ${PROJECT_SOURCE_DIR}/packaging/vellomir.svg)
set_source_files_properties(${launcher_icon} PROPERTIES QT_RESOURCE_ALIAS Assets/vellomir.svg)

qt_add_library(vellomir-window STATIC)
qt_add_qml_module(vellomir-window
    URI Vellomir
    VERSION 1.0
    RESOURCE_PREFIX /
    NO_PLUGIN
    DEPENDENCIES QtQuick
    QML_FILES ${qml_files}
    RESOURCES ${assets} ${launcher_icon}
    SOURCES
        Window/AppLaunchState.cpp Window/AppLaunchState.h
        Window/Clipboard.cpp Window/Clipboard.h
        Window/DesktopSettings.cpp Window/DesktopSettings.h
        Window/DoubleClickFilter.cpp Window/DoubleClickFilter.h
        Window/FilePickers.cpp Window/FilePickers.h
        Window/Fonts.cpp Window/Fonts.h
        Window/FileAssociations.cpp Window/FileAssociations.h
        Window/Fonts.h
        Window/HomeFolder.cpp Window/HomeFolder.h
        Window/HelpPage.cpp Window/HelpPage.h
        Window/HexColors.cpp Window/HexColors.h
        Window/JobNotices.cpp Window/JobNotices.h
        Window/LineBreakFilter.cpp Window/LineBreakFilter.h
        Window/LogModel.cpp Window/LogModel.h
        Window/Motion.cpp Window/Motion.h
        Window/NumberPad.cpp Window/NumberPad.h
        Window/OrsantaVellomirApp.cpp Window/OrsantaVellomirApp.h
        Window/PhoneSending.cpp Window/PhoneSending.h
        Window/PreviewProvider.cpp Window/PreviewProvider.h
        Window/QrCodeItem.cpp Window/QrCodeItem.h
        Window/Sharing.cpp Window/Sharing.h
        Window/SpringValue.cpp Window/SpringValue.h
        Window/SymbolProvider.cpp Window/SymbolProvider.h
        Window/SystemDesktop.cpp Window/SystemDesktop.h
        Window/TapWatcher.cpp Window/TapWatcher.h
        Window/ThumbnailProvider.cpp Window/ThumbnailProvider.h
        Window/URLs.cpp Window/URLs.h
)
# Compiling the QML expressions to C++ would take a minute and gain no visible speed.
set_target_properties(vellomir-window PROPERTIES QT_QMLCACHEGEN_ARGUMENTS --only-bytecode)
# The sources generated from QML are small: compiling them as one saves a minute.
set(generated)
foreach(file IN LISTS qml_files)
    string(REGEX REPLACE "\\.qml$" "_qml.cpp" name ${file})
    list(APPEND generated ${CMAKE_CURRENT_BINARY_DIR}/.rcc/qmlcache/vellomir-window_${name})
endforeach()
set_source_files_properties(${generated} PROPERTIES UNITY_GROUP qml)
if(NOT CMAKE_UNITY_BUILD)
    set_target_properties(vellomir-window PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endif()
target_include_directories(vellomir-window PUBLIC ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/Window)
target_link_libraries(vellomir-window
    PUBLIC vellomir-content-view vellomir-sending Qt6::DBus Qt6::Quick Qt6::Widgets)

add_executable(vellomir Window/main.cpp Window/CommandLine.cpp Window/TerminationSignals.cpp)
target_compile_definitions(vellomir PRIVATE VELLOMIR_VERSION="${PROJECT_VERSION}")
target_link_libraries(vellomir PRIVATE vellomir-window)

# Draws the screens for review. Not built with sanitizers: the window tests cover the same code.
add_executable(vellomir-screenshots Window/Screenshots/main.cpp Window/Screenshots/Stage.cpp)
target_link_libraries(vellomir-screenshots PRIVATE vellomir-window)
if(VELLOMIR_SANITIZE)
    set_target_properties(vellomir-screenshots PROPERTIES EXCLUDE_FROM_ALL ON)
endif()
