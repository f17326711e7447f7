# A cross build runs this machine's moc and rcc (the same Qt 5.15) instead of the
# target's, which could not run here. Qt's own package files keep targets that exist.
find_program(DRIVERS_HOST_MOC moc PATHS /usr/lib/qt5/bin NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_program(DRIVERS_HOST_RCC rcc PATHS /usr/lib/qt5/bin NO_CMAKE_FIND_ROOT_PATH REQUIRED)
foreach(tool moc rcc)
  string(TOUPPER ${tool} upper)
  if(NOT TARGET Qt5::${tool})
    add_executable(Qt5::${tool} IMPORTED)
    set_target_properties(Qt5::${tool} PROPERTIES IMPORTED_LOCATION ${DRIVERS_HOST_${upper}})
  endif()
endforeach()
