# Installing vantaquill: `cmake --install` into a prefix, and the Debian package built from the same
# rules by CPack. A user installs into ~/.local (the default here); a packager installs into /usr.
#
# What lands where (prefix P):
#   P/bin/vantaquill, P/bin/vantaquill-island
#   P/share/applications/vantaquill.desktop              (declares x-scheme-handler/vantaquill)
#   P/share/icons/hicolor/{scalable,NxN}/apps/vantaquill.{svg,png}
#   P/share/man/man1/vantaquill{,-island}.1.gz
#   P/share/bash-completion/completions/vantaquill, P/share/zsh/vendor-completions/_vantaquill,
#   P/share/fish/vendor_completions.d/vantaquill.fish
#   P/share/doc/vantaquill/copyright (the MIT licence, in Debian's machine-readable form) and
#   changelog.Debian.gz
#   the systemd user unit: /usr/lib/systemd/user when P is /usr, else P/share/systemd/user (which
#   the user manager reads for P = ~/.local)
#   the autostart entry: /etc/xdg/autostart when P is /usr, else P/etc/xdg/autostart (copy it to
#   ~/.config/autostart to start with the session)
# Both programs are found in P/bin: the unit names the program by its full path, written at install
# time so that a package built from a ~/.local configuration still points at /usr/bin.

if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT AND DEFINED ENV{HOME})
  set(CMAKE_INSTALL_PREFIX "$ENV{HOME}/.local" CACHE PATH "Install prefix (~/.local for a user, /usr for packagers)" FORCE)
endif()
include(GNUInstallDirs)

set(VANTAQUILL_PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(VANTAQUILL_STAGE ${CMAKE_BINARY_DIR}/packaging)
set(VANTAQUILL_ICON_SIZES 16 24 32 48 64 128 256 512)

install(TARGETS vantaquill vantaquill-island RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${VANTAQUILL_PACKAGING}/vantaquill.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

# Icons: the SVG is the source; the PNG sizes are rendered from it at build time, so the package
# carries no binary that cannot be rebuilt from the repository.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
set(icon_outputs)
foreach(size ${VANTAQUILL_ICON_SIZES})
  set(png ${VANTAQUILL_STAGE}/icons/${size}x${size}/vantaquill.png)
  add_custom_command(OUTPUT ${png}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${VANTAQUILL_STAGE}/icons/${size}x${size}
    COMMAND ${RSVG_CONVERT} -w ${size} -h ${size} -o ${png} ${VANTAQUILL_PACKAGING}/icons/vantaquill.svg
    DEPENDS ${VANTAQUILL_PACKAGING}/icons/vantaquill.svg
    COMMENT "Rendering the ${size}px icon" VERBATIM)
  list(APPEND icon_outputs ${png})
  install(FILES ${png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
install(FILES ${VANTAQUILL_PACKAGING}/icons/vantaquill.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

# Man pages and the Debian changelog are compressed with -n so the archive holds no time stamp.
find_program(GZIP gzip REQUIRED)
set(compressed_outputs)
foreach(page vantaquill.1 vantaquill-island.1)
  set(gz ${VANTAQUILL_STAGE}/man/${page}.gz)
  add_custom_command(OUTPUT ${gz}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${VANTAQUILL_STAGE}/man
    COMMAND ${GZIP} -9nc ${VANTAQUILL_PACKAGING}/man/${page} > ${gz}
    DEPENDS ${VANTAQUILL_PACKAGING}/man/${page}
    COMMENT "Compressing ${page}")
  list(APPEND compressed_outputs ${gz})
  install(FILES ${gz} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
set(changelog ${VANTAQUILL_STAGE}/changelog.Debian.gz)
add_custom_command(OUTPUT ${changelog}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${VANTAQUILL_STAGE}
  COMMAND ${GZIP} -9nc ${VANTAQUILL_PACKAGING}/changelog.Debian > ${changelog}
  DEPENDS ${VANTAQUILL_PACKAGING}/changelog.Debian
  COMMENT "Compressing the Debian changelog")
list(APPEND compressed_outputs ${changelog})
add_custom_target(vantaquill-packaging ALL DEPENDS ${icon_outputs} ${compressed_outputs})

install(FILES ${VANTAQUILL_PACKAGING}/completions/vantaquill.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME vantaquill)
install(FILES ${VANTAQUILL_PACKAGING}/completions/_vantaquill DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${VANTAQUILL_PACKAGING}/completions/vantaquill.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

install(FILES ${VANTAQUILL_PACKAGING}/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The unit and the autostart entry go where the session looks for them, which depends on the prefix
# chosen at install time (CPack installs with /usr whatever the build was configured with).
install(CODE "
  if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
    set(unit_folder \"/usr/lib/systemd/user\")
    set(autostart_folder \"/etc/xdg/autostart\")
  else()
    set(unit_folder \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/systemd/user\")
    set(autostart_folder \"\${CMAKE_INSTALL_PREFIX}/etc/xdg/autostart\")
  endif()
  set(VANTAQUILL_ISLAND \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/vantaquill-island\")
  # A folder of each destination's own: installs into two prefixes at once never swap their units.
  string(MD5 destination \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
  set(unit \"${VANTAQUILL_STAGE}/unit/\${destination}/vantaquill.service\")
  configure_file(\"${VANTAQUILL_PACKAGING}/vantaquill.service.in\" \"\${unit}\" @ONLY)
  file(INSTALL DESTINATION \"\${unit_folder}\" TYPE FILE FILES \"\${unit}\")
  file(INSTALL DESTINATION \"\${autostart_folder}\" TYPE FILE
       FILES \"${VANTAQUILL_PACKAGING}/vantaquill-autostart.desktop\" RENAME vantaquill.desktop)
  if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
    file(INSTALL DESTINATION \"/usr/share/lintian/overrides\" TYPE FILE
         FILES \"${VANTAQUILL_PACKAGING}/lintian-overrides\" RENAME vantaquill)
  endif()
")

# A user's install registers the URL scheme at once; a package leaves that to dpkg's triggers
# (desktop-file-utils) and to the desktop, so nothing runs while DESTDIR stages files.
install(CODE "
  if(\"\$ENV{DESTDIR}\" STREQUAL \"\")
    find_program(update_desktop_database update-desktop-database)
    find_program(xdg_mime xdg-mime)
    if(update_desktop_database)
      execute_process(COMMAND \"\${update_desktop_database}\" -q \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/applications\")
    endif()
    if(xdg_mime)
      execute_process(COMMAND \"\${xdg_mime}\" default vantaquill.desktop x-scheme-handler/vantaquill)
    endif()
  endif()
")

# The Debian package: `make package` (cpack -G DEB in the build folder).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantaquill)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "the vantaquill developers")
set(CPACK_PACKAGE_CONTACT "the vantaquill developers <maintainers@vantaquill.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "island at the top of the screen for live activities and agents")
set(CPACK_PACKAGE_DESCRIPTION
  "vantaquill draws a black island at the top centre of the screen that shows\n\
live activities, HUD flashes, coding-agent approvals, a file shelf, a\n\
clipboard history and small widgets. Scripts drive it through a local HTTP\n\
API, the vantaquill:// URL scheme and the vantaquill command.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The unit and the autostart entry sit outside the prefix; with DESTDIR staging CPack installs them
# into the package tree rather than onto this machine.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# A Debian revision of its own, so that the changelog is the Debian one (changelog.Debian.gz).
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
# The autostart entry in /etc is the administrator's to edit: dpkg keeps their changes.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${VANTAQUILL_PACKAGING}/conffiles)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://vantaquill.invalid/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Opened with dlopen on first use (URL.cpp), so dpkg-shlibdeps cannot see it; the automatic list
# is added to this one.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "liburiparser1")
# The doctor asks these tools about the desktop; the island runs without them. libcanberra loads its
# sound server backend at run time, which dpkg-shlibdeps cannot see; without it (or the sound theme)
# the focus timer ends silently.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "dbus-bin, wayland-utils, x11-utils, xdg-utils, libcanberra-pulse, sound-theme-freedesktop")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_SOURCE_IGNORE_FILES "/build/;/\\\\.git/")
include(CPack)
