# Code from descriptions of Wayland protocols.
dravo_pkg(WAYLAND_CLIENT wayland-client libwayland-dev)
find_program(DRAVO_WAYLAND_SCANNER wayland-scanner)
if(NOT DRAVO_WAYLAND_SCANNER)
  message(FATAL_ERROR "wayland-scanner is missing. On Debian: apt install libwayland-bin")
endif()

# dravo_wayland_protocol(NAME FILE): the library dravo_wayland_NAME with a protocol's code, which is C, and the headers
# NAME-client.h and NAME-server.h. It needs the client's library, or the server's, from who links it.
function(dravo_wayland_protocol name file)
  set(folder ${CMAKE_BINARY_DIR}/wayland)
  file(MAKE_DIRECTORY ${folder})
  set(outputs "")
  set(parts private-code client-header server-header)
  set(endings code.c client.h server.h)
  foreach(part ending IN ZIP_LISTS parts endings)
    set(output ${folder}/${name}-${ending})
    list(APPEND outputs ${output})
    add_custom_command(OUTPUT ${output}
      COMMAND ${DRAVO_WAYLAND_SCANNER} --strict ${part} ${file} ${output} DEPENDS ${file} VERBATIM)
  endforeach()
  add_library(dravo_wayland_${name} STATIC ${outputs})
  set_target_properties(dravo_wayland_${name} PROPERTIES LINKER_LANGUAGE C)
  target_include_directories(dravo_wayland_${name} SYSTEM INTERFACE ${folder})
endfunction()
