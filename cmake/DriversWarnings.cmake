# Warnings belong to our own targets only, never to code that includes our
# headers or to projects that build beside us.
function(drivers_set_warnings target)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY" OR type STREQUAL "UTILITY")
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra $<$<BOOL:${DRIVERS_WERROR}>:-Werror>)
endfunction()

# Every target defined in dir and below it, so that a new target needs no line of its own.
function(drivers_apply_warnings dir)
  get_property(targets DIRECTORY ${dir} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    drivers_set_warnings(${target})
  endforeach()
  get_property(subdirectories DIRECTORY ${dir} PROPERTY SUBDIRECTORIES)
  foreach(subdirectory IN LISTS subdirectories)
    drivers_apply_warnings(${subdirectory})
  endforeach()
endfunction()
