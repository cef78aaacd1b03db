# The catalogues, compiled, and what is written with their help. They lie beside the build's src/ as they lie beside bin/
# when installed, so that the program finds them in one place: ../share/locale.
find_program(DRAVO_MSGFMT msgfmt)
if(NOT DRAVO_MSGFMT)
  message(FATAL_ERROR "msgfmt is missing. On Debian: apt install gettext")
endif()

set(DRAVO_TRANSLATIONS ${CMAKE_BINARY_DIR}/share/locale)
set(translations "")
set(catalogues "")
set(catalogue_folder ${CMAKE_SOURCE_DIR}/resources/translations)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${catalogue_folder}/LINGUAS)
file(STRINGS ${catalogue_folder}/LINGUAS languages)
foreach(language ${languages})
  set(catalogue ${catalogue_folder}/${language}.po)
  list(APPEND catalogues ${catalogue})
  set(folder ${DRAVO_TRANSLATIONS}/${language}/LC_MESSAGES)
  file(MAKE_DIRECTORY ${folder})
  add_custom_command(OUTPUT ${folder}/dravo.mo
    COMMAND ${DRAVO_MSGFMT} --check --endianness=little --output-file=${folder}/dravo.mo ${catalogue}
    DEPENDS ${catalogue} VERBATIM)
  list(APPEND translations ${folder}/dravo.mo)
  install(FILES ${folder}/dravo.mo DESTINATION share/locale/${language}/LC_MESSAGES)
endforeach()

# dravo_translated(FORM FILE DESTINATION): a file that desktops read, in all languages, which msgfmt takes from LINGUAS.
function(dravo_translated form file destination)
  get_filename_component(name ${file} NAME)
  add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/${name}
    COMMAND ${DRAVO_MSGFMT} --${form} --template=${CMAKE_SOURCE_DIR}/${file} -d ${catalogue_folder}
      --output-file=${CMAKE_BINARY_DIR}/${name}
    DEPENDS ${file} ${catalogues} VERBATIM)
  install(FILES ${CMAKE_BINARY_DIR}/${name} DESTINATION ${destination})
  set(translations ${translations} ${CMAKE_BINARY_DIR}/${name} PARENT_SCOPE)
endfunction()
dravo_translated(desktop packaging/dravo.desktop share/applications)
dravo_translated(xml packaging/org.dravo.Dravo.metainfo.xml share/metainfo)

add_custom_target(dravo_translations ALL DEPENDS ${translations})
