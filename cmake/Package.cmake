# Where things stand once installed, and the package for Debian that cpack makes of them.
#
# The program keeps a folder of its own, because what it reads stands beside it; a link makes it a command.
set(home lib/veltrane)
set(made ${CMAKE_BINARY_DIR}/desktop)

# CHANGELOG.md is the one list of changes: the day of the release, and the change log in the form of Debian.
file(STRINGS CHANGELOG.md lines ENCODING UTF-8)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
set(maintainer "The Veltrane developers <developers@veltrane.example>")
set(changes "")
set(foot "")
foreach(line IN LISTS lines)
  if(line MATCHES "^## ([0-9.]+) - ([0-9]+)-([0-9]+)-([0-9]+)$")
    set(version ${CMAKE_MATCH_1})
    set(day "${CMAKE_MATCH_2}-${CMAKE_MATCH_3}-${CMAKE_MATCH_4}")
    if(NOT DEFINED VELTRANE_RELEASE_DAY)
      set(newest ${version})
      set(VELTRANE_RELEASE_DAY ${day})
    endif()
    execute_process(COMMAND date --utc --date=${day} "+%a, %d %b %Y 12:00:00 +0000" OUTPUT_VARIABLE time
                    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    string(APPEND changes "${foot}veltrane (${version}-1) stable; urgency=medium\n\n")
    set(foot "\n -- ${maintainer}  ${time}\n\n")
  elseif(foot AND line MATCHES "^- (.*)$")
    string(APPEND changes "  * ${CMAKE_MATCH_1}\n")
  elseif(foot AND line MATCHES "^  (.*)$")
    string(APPEND changes "    ${CMAKE_MATCH_1}\n")
  endif()
endforeach()
if(NOT newest STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "CHANGELOG.md begins with release ${newest}, the project's version is ${PROJECT_VERSION}.")
endif()
file(CONFIGURE OUTPUT ${made}/changelog.Debian CONTENT "${changes}${foot}" @ONLY)
configure_file(desktop/veltrane.metainfo.xml.in ${made}/veltrane.metainfo.xml @ONLY)
configure_file(desktop/veltrane.1.in ${made}/veltrane.1 @ONLY)
foreach(page changelog.Debian veltrane.1)
  execute_process(COMMAND gzip -9nkf ${made}/${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(CREATE_LINK ../${home}/Veltrane ${made}/veltrane SYMBOLIC)
file(CREATE_LINK Images ${made}/images SYMBOLIC)

install(TARGETS Veltrane RUNTIME DESTINATION ${home})
install(FILES PORTS.TXT HTTPDNSError.txt DESTINATION ${home})
install(DIRECTORY Help DESTINATION ${home})
install(DIRECTORY Images DESTINATION ${home} FILES_MATCHING PATTERN *.gif)
install(DIRECTORY res DESTINATION ${home} FILES_MATCHING PATTERN *.avi PATTERN *.bmp)
install(FILES ${made}/images DESTINATION ${home})
install(FILES ${made}/veltrane DESTINATION bin)
install(FILES desktop/veltrane.desktop DESTINATION share/applications)
install(FILES ${made}/veltrane.metainfo.xml DESTINATION share/metainfo RENAME example.veltrane.veltrane.metainfo.xml)
install(FILES ui/faces/pictures/Veltrane.svg DESTINATION share/icons/hicolor/scalable/apps RENAME veltrane.svg)
foreach(size 16 22 24 32 48 64 128 256)
  install(FILES desktop/icons/veltrane-${size}.png
          DESTINATION share/icons/hicolor/${size}x${size}/apps RENAME veltrane.png)
endforeach()
install(FILES ${made}/veltrane.1.gz DESTINATION share/man/man1)
install(FILES desktop/copyright ${made}/changelog.Debian.gz DESTINATION share/doc/veltrane)

# A package takes the program that is built; it does not build the tests first.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veltrane)
set(CPACK_PACKAGE_CONTACT "${maintainer}")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://veltrane.example/")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "interactive TCP debugging proxy")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Veltrane stands between a client and its server, relays the traffic and shows
every connection, change of state and byte as it happens. It can also refuse,
terminate, throttle and dangle connections on a schedule.
.
It serves web, mail and FTP clients, and any program that uses TCP.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# A browser for the manual and for reports, and the sessions that have no X server.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, sqlite3, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
