# The programs, with the man page and the completion that are made from their help.
find_package(Python3 COMPONENTS Interpreter REQUIRED)

install(TARGETS ecpanel ecsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(FILES examples/line.toml examples/tags.csv examples/plc.toml
  DESTINATION ${docs}/emerson-ec-series-tools/examples COMPONENT tools)
install(FILES docs/host.md docs/simulator.md docs/trace.md docs/device-types.md
  DESTINATION ${docs}/emerson-ec-series-tools/docs COMPONENT tools)

string(TIMESTAMP today "%Y-%m-%d" UTC)
# The programs may have been built to count what they run; asking for help is not to be counted.
set(python ${CMAKE_COMMAND} -E env LLVM_PROFILE_FILE=/dev/null ${Python3_EXECUTABLE} -B)
# ec_help_pages(PROGRAM OTHER): PROGRAM's man page, which refers to OTHER's, and its completion.
function(ec_help_pages program other)
  set(run ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>)
  set(page ${made}/${program}.1)
  set(completion ${made}/completions/${program})
  add_custom_command(OUTPUT ${page}.gz ${completion}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${made}/completions
    COMMAND ${python} ${packaging}/man_page.py --date ${today} --see-also ${other} ${page} ${run}
    COMMAND ${EC_GZIP} -9nf ${page}
    COMMAND ${python} ${packaging}/completion.py ${completion} ${run}
    DEPENDS ${program} ${packaging}/help_text.py ${packaging}/man_page.py ${packaging}/completion.py VERBATIM)
  add_custom_target(${program}_help_pages ALL DEPENDS ${page}.gz ${completion})
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions COMPONENT tools)
endfunction()
ec_help_pages(ecpanel ecsim)
ec_help_pages(ecsim ecpanel)
