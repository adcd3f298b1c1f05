# brind_wayland_protocols(<library> <include folder> <xml>...): the client side of each protocol
# description, generated with wayland-scanner into one static C library. Each header is included
# as "<include folder>/<name>-client-protocol.h", <name> being the description's file name.
function(brind_wayland_protocols library folder)
  find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  file(MAKE_DIRECTORY ${generated}/${folder})
  set(sources)
  foreach(xml ${ARGN})
    get_filename_component(name ${xml} NAME_WE)
    set(header ${generated}/${folder}/${name}-client-protocol.h)
    set(code ${generated}/${name}-protocol.c)
    add_custom_command(OUTPUT ${header} COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${header}
                       DEPENDS ${xml} VERBATIM)
    add_custom_command(OUTPUT ${code} COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${code}
                       DEPENDS ${xml} VERBATIM)
    list(APPEND sources ${header} ${code})
  endforeach()
  add_library(${library} STATIC ${sources})
  target_include_directories(${library} SYSTEM PUBLIC ${generated})
  target_link_libraries(${library} PUBLIC PkgConfig::WAYLAND_CLIENT)
endfunction()
