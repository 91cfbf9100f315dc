# cmake -DOUTPUT=FILE -DVERSION=2.0 -DDATE=2026-01-31 [-DHOMEPAGE=URL] -P Metainfo.cmake: writes what
# software centres show of the window. They load pictures from the web only, so there are pictures
# where the project has a home page, with the pictures of docs/ below it.
set(SCREENSHOTS "")
if(HOMEPAGE)
    set(SCREENSHOTS "  <url type=\"homepage\">${HOMEPAGE}</url>\n  <screenshots>\n")
    set(kind " type=\"default\"")
    foreach(picture IN ITEMS "window:A finished copy" "running:A copy is being made"
            "cropper:The new icon is cropped" "sharing:The copy is shared")
        string(REGEX MATCH "^([a-z]+):(.*)$" matched ${picture})
        string(APPEND SCREENSHOTS "    <screenshot${kind}>\n"
            "      <caption>${CMAKE_MATCH_2}</caption>\n"
            "      <image>${HOMEPAGE}/docs/${CMAKE_MATCH_1}.png</image>\n"
            "    </screenshot>\n")
        set(kind "")
    endforeach()
    string(APPEND SCREENSHOTS "  </screenshots>\n")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/../packaging/metainfo.xml.in ${OUTPUT} @ONLY)
