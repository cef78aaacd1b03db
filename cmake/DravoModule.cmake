# dravo_module(NAME FOLDER SOURCES... [USES modules...] [LINKS libraries...])
#
# One folder of src/ is one static library. Its headers are reachable under their path from src/, but only for
# those who link it: each module gets an include root of its own that holds nothing but a link to its folder.
# A folder that includes what it may not see therefore does not build.
function(dravo_module name)
  cmake_parse_arguments(arg "" "FOLDER" "SOURCES;USES;LINKS;PRIVATE_LINKS" ${ARGN})
  set(root ${CMAKE_BINARY_DIR}/rooms/${name})
  get_filename_component(parent ${root}/${arg_FOLDER} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${arg_FOLDER} ${root}/${arg_FOLDER} SYMBOLIC)

  add_library(dravo_${name} STATIC ${arg_SOURCES})
  target_include_directories(dravo_${name} PUBLIC ${root})
  list(TRANSFORM arg_USES PREPEND dravo_)
  target_link_libraries(dravo_${name} PUBLIC ${arg_USES} ${arg_LINKS} PRIVATE dravo_compiler ${arg_PRIVATE_LINKS})
endfunction()
