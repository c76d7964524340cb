# SPDX-License-Identifier: MIT
# `cmake --install`, in components that become one package each:
#
#   player          the player, its scripts and all that a desktop shows of it
#   tools           dpk
#   studio          the studio and its entry on the desktop
#   piece           the sample piece
#   python          the authors' library
#   documentation   what authors read
include(GNUInstallDirs)

set(games_man ${CMAKE_INSTALL_MANDIR}/man6)
set(piece_folder ${CMAKE_INSTALL_DATADIR}/quorvale/piece)
set(made ${PROJECT_BINARY_DIR}/install)

# Installed files can be moved as a whole: programs find what is theirs from where they stand.
set(programs_folder ${CMAKE_INSTALL_LIBEXECDIR}/quorvale)
file(RELATIVE_PATH QUORVALE_WARM_FROM_BIN /${CMAKE_INSTALL_BINDIR} /${programs_folder})
file(RELATIVE_PATH QUORVALE_PIECE_FROM_BIN /${CMAKE_INSTALL_BINDIR} /${piece_folder})

# The date of the version, from the changelog's first head line.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heads REGEX "^## ")
list(GET heads 0 head)
if(NOT head MATCHES "^## ${PROJECT_VERSION} - ([0-9]+-[0-9]+-[0-9]+)$")
  message(FATAL_ERROR "CHANGELOG.md does not begin with version ${PROJECT_VERSION}: ${head}")
endif()
set(QUORVALE_RELEASE_DATE ${CMAKE_MATCH_1})

# Software centers load pictures over the network alone.
set(QUORVALE_SITE "https://quorvale.invalid" CACHE STRING
  "The address of the project's pages, which have docs/pictures under pictures")

foreach(file quorvale-play quorvale-piece org.quorvale.Quorvale.metainfo.xml)
  configure_file(desktop/${file}.in ${made}/${file} @ONLY)
endforeach()

install(TARGETS quorvale DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT player)
install(TARGETS quorvale-warm DESTINATION ${programs_folder} COMPONENT player)
install(PROGRAMS ${made}/quorvale-play DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT player)
install(FILES docs/quorvale.6 docs/quorvale-play.6 DESTINATION ${games_man} COMPONENT player)
install(FILES desktop/quorvale.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT player)
install(FILES desktop/quorvale-mime.xml RENAME quorvale.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages COMPONENT player)
install(FILES ${made}/org.quorvale.Quorvale.metainfo.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT player)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES desktop/icons/quorvale.svg
  DESTINATION ${icons}/scalable/apps COMPONENT player)
foreach(size 16 24 32 48 64 128 256)
  install(FILES desktop/icons/quorvale-${size}.png RENAME quorvale.png
    DESTINATION ${icons}/${size}x${size}/apps COMPONENT player)
endforeach()

# Shells look a command's completion up by its name.
set(bash ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
foreach(command quorvale quorvale-play quorvale-piece)
  install(FILES completions/quorvale.bash RENAME ${command}
    DESTINATION ${bash} COMPONENT player)
endforeach()
install(FILES completions/quorvale.zsh RENAME _quorvale
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT player)
foreach(command quorvale quorvale-play quorvale-piece)
  install(FILES completions/quorvale.fish RENAME ${command}.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT player)
endforeach()

install(TARGETS dpk DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(FILES desktop/quorvale.thumbnailer
  DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers COMPONENT tools)
# Written by make_reference.
set(reference ${PROJECT_BINARY_DIR}/reference)
install(DIRECTORY ${reference}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools
  FILES_MATCHING PATTERN "dpk*.1")
install(FILES ${reference}/dpk.bash RENAME dpk DESTINATION ${bash} COMPONENT tools)
install(FILES ${reference}/_dpk
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
install(FILES ${reference}/dpk.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
# File managers look for pictures of packages here.
install(FILES desktop/quorvale.thumbnailer
  DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers COMPONENT tools)
install(FILES docs/dpk.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT tools)

install(TARGETS quorvale-studio DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT studio)
install(FILES docs/quorvale-studio.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT studio)
install(FILES desktop/quorvale-studio.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT studio)

# Where dpk looks for it, from where dpk stands.
install(DIRECTORY python/quorvale
  DESTINATION ${CMAKE_INSTALL_DATADIR}/quorvale/python COMPONENT python
  PATTERN __pycache__ EXCLUDE)

install(PROGRAMS ${made}/quorvale-piece DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT piece)
install(FILES docs/quorvale-piece.6 DESTINATION ${games_man} COMPONENT piece)
install(FILES desktop/quorvale-piece.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT piece)
install(FILES ${PROJECT_BINARY_DIR}/piece/quorvale.dpk
  DESTINATION ${piece_folder} COMPONENT piece)
install(FILES piece/music/quorvale.xm DESTINATION ${piece_folder}/music COMPONENT piece)

# As in the source folder, so that links between them hold.
install(FILES README.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
file(GLOB pages CONFIGURE_DEPENDS docs/*.md)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT documentation)
install(DIRECTORY docs/pictures docs/handbook docs/dpk
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT documentation)
