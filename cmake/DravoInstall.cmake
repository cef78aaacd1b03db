# What `cmake --install` puts where. The program looks for its modules beside itself, then in ../lib/dravo.
include(GNUInstallDirs)

install(TARGETS dravo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS dravo_pictures LIBRARY DESTINATION lib/dravo)
install(FILES packaging/dravo.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES packaging/dravo.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
