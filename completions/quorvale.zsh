#compdef quorvale quorvale-play quorvale-piece
# SPDX-License-Identifier: MIT
case $service in
quorvale) _arguments '-forcepbo[use pixel buffers below OpenGL 2.1]' ;;
quorvale-play)
    _arguments '(- *)--help[print help]' '(- *)--version[print the version]' \
        '-forcepbo[use pixel buffers below OpenGL 2.1]' '1:package:_files -g "*dpk"'
    ;;
quorvale-piece)
    _arguments '(- *)--help[print help]' '(- *)--version[print the version]' \
        '-forcepbo[use pixel buffers below OpenGL 2.1]'
    ;;
esac
