# SPDX-License-Identifier: MIT
# Completion of the player for fish.
complete -c quorvale -f -a -forcepbo -d 'Use pixel buffers below OpenGL 2.1'
for program in quorvale-play quorvale-piece
    complete -c $program -f
    complete -c $program -o forcepbo -d 'Use pixel buffers below OpenGL 2.1'
    complete -c $program -s h -l help -d 'Print help'
    complete -c $program -l version -d 'Print the version'
end
complete -c quorvale-play -f -a '(__fish_complete_suffix .dpk)'
