# The catalogues, compiled. They lie beside the build's src/ as they lie beside bin/ when installed, so that the program
# finds them in one place: ../share/locale.
find_program(DRAVO_MSGFMT msgfmt)
if(NOT DRAVO_MSGFMT)
  message(FATAL_ERROR "msgfmt is missing. On Debian: apt install gettext")
endif()

set(DRAVO_TRANSLATIONS ${CMAKE_BINARY_DIR}/share/locale)
set(translations "")
file(GLOB catalogues CONFIGURE_DEPENDS resources/translations/*.po)
foreach(catalogue ${catalogues})
  get_filename_component(language ${catalogue} NAME_WE)
  set(folder ${DRAVO_TRANSLATIONS}/${language}/LC_MESSAGES)
  file(MAKE_DIRECTORY ${folder})
  add_custom_command(OUTPUT ${folder}/dravo.mo
    COMMAND ${DRAVO_MSGFMT} --check --output-file=${folder}/dravo.mo ${catalogue}
    DEPENDS ${catalogue} VERBATIM)
  list(APPEND translations ${folder}/dravo.mo)
  install(FILES ${folder}/dravo.mo DESTINATION share/locale/${language}/LC_MESSAGES)
endforeach()
add_custom_target(dravo_translations ALL DEPENDS ${translations})
