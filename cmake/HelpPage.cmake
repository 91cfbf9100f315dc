# Writes the help page: cmake -DCMARK=... -DSOURCE=help.md -DTEMPLATE=help.html.in -DVERSION=...
# -DOUTPUT=help.html -P HelpPage.cmake
execute_process(COMMAND ${CMARK} --extension table --unsafe ${SOURCE}
    OUTPUT_VARIABLE HELP COMMAND_ERROR_IS_FATAL ANY)
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
