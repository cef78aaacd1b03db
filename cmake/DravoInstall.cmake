# What `cmake --install` puts where, but for what is translated (DravoTranslations.cmake). The program looks for its modules
# beside itself, then in ../lib/dravo.
include(GNUInstallDirs)

install(TARGETS dravo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS dravo_pictures_module dravo_desktop dravo_wayland LIBRARY DESTINATION lib/dravo)
foreach(size 16 24 32 48 64 128 256)
  install(FILES packaging/icons/dravo-${size}.png
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps RENAME dravo.png)
endforeach()
install(FILES packaging/icons/dravo.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES packaging/icons/dravo-symbolic.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/symbolic/apps)
configure_file(packaging/dravo.service.in ${CMAKE_BINARY_DIR}/dravo.service @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/dravo.service DESTINATION lib/systemd/user)
install(FILES packaging/dravo.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES packaging/completions/dravo.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME dravo)
install(FILES packaging/completions/_dravo DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
install(FILES packaging/completions/dravo.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
