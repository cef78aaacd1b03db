# A start costs mostly what the dynamic loader does: each shared library takes some ten page faults, and libstdc++ two
# thousand symbol look-ups. docs/performance.md has the figures.
option(DRAVO_QUICK_START "Link libstdc++ and xcb into the executable, where the system has them as archives" ON)

# dravo_quick_archives(OUT NAME...): the archives of these libraries, or nothing if one is missing.
function(dravo_quick_archives out)
  set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
  set(archives "")
  foreach(name ${ARGN})
    find_library(DRAVO_ARCHIVE_${name} ${name})
    mark_as_advanced(DRAVO_ARCHIVE_${name})
    if(NOT DRAVO_ARCHIVE_${name})
      set(${out} "" PARENT_SCOPE)
      return()
    endif()
    list(APPEND archives ${DRAVO_ARCHIVE_${name}})
  endforeach()
  set(${out} ${archives} PARENT_SCOPE)
endfunction()

# dravo_quick_start(TARGET): for the executable alone. Its modules, and the toolkit that they bring, keep the shared
# libraries: no object of these libraries may pass between the two sides.
function(dravo_quick_start target)
  if(NOT DRAVO_QUICK_START OR DRAVO_SANITIZE)
    return()
  endif()
  set_target_properties(${target} PROPERTIES DRAVO_LINKS_ARCHIVES ON)
  # Hidden, so that the modules' own copies are not mixed with these.
  target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc
    LINKER:--exclude-libs,libstdc++.a:libgcc.a:libgcc_eh.a:libxcb.a:libxcb-randr.a:libxcb-sync.a:libxcb-xkb.a:libXau.a:libXdmcp.a)
endfunction()

# xcb's targets are archives where the target that is linked asks for them.
if(DRAVO_QUICK_START AND NOT DRAVO_SANITIZE)
  dravo_quick_archives(archives xcb-randr xcb-sync xcb-xkb xcb Xau Xdmcp)
  if(archives)
    foreach(target XCB XCB_RANDR XCB_SYNC XCB_XKB)
      get_target_property(shared PkgConfig::${target} INTERFACE_LINK_LIBRARIES)
      set_target_properties(PkgConfig::${target} PROPERTIES INTERFACE_LINK_LIBRARIES
        "$<IF:$<BOOL:$<TARGET_PROPERTY:DRAVO_LINKS_ARCHIVES>>,${archives},${shared}>")
    endforeach()
  endif()
endif()
