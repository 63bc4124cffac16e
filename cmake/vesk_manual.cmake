# veskctl_manual(<program> <component>): its manual page and completions, which it writes itself. The
# same bytes each time.
find_program(VESK_GZIP gzip REQUIRED)

function(veskctl_manual program component)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${program}_manual)
  set(page ${folder}/${program}.1.gz)
  set(scripts ${folder}/bash/${program} ${folder}/zsh/_${program} ${folder}/fish/${program}.fish)
  add_custom_command(OUTPUT ${page} ${scripts}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}/bash ${folder}/zsh ${folder}/fish
    COMMAND ${program} man > ${folder}/${program}.1
    COMMAND ${VESK_GZIP} -9n < ${folder}/${program}.1 > ${page}
    COMMAND ${program} completion bash > ${folder}/bash/${program}
    COMMAND ${program} completion zsh > ${folder}/zsh/_${program}
    COMMAND ${program} completion fish > ${folder}/fish/${program}.fish
    DEPENDS ${program}
    VERBATIM)
  add_custom_target(${program}_manual ALL DEPENDS ${page} ${scripts})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
  install(FILES ${folder}/bash/${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component})
  install(FILES ${folder}/zsh/_${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT ${component})
  install(FILES ${folder}/fish/${program}.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT ${component})
endfunction()
