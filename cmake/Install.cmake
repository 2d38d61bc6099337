# cmake --install: the programs, their desktop files, and what a first start lays out for the owner.

include(GNUInstallDirs)

foreach(program tarvel_wap tarvel_wapd)
  if(TARGET ${program})
    install(TARGETS ${program})
  endif()
endforeach()
# Next to the programs: it finds the rest from there.
install(PROGRAMS scripts/tarvel-wap DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY share/ DESTINATION ${CMAKE_INSTALL_DATADIR})
install(DIRECTORY pages sample DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvel-wap USE_SOURCE_PERMISSIONS)
install(PROGRAMS scripts/first-run.sh DESTINATION ${CMAKE_INSTALL_DATADIR}/tarvel-wap/scripts)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
