# SPDX-License-Identifier: MIT
#
# Completion of qorhex for fish; installed as
# share/fish/vendor_completions.d/qorhex.fish.

# HEX files first, then all others.
complete -c qorhex -k -x -a '(__fish_complete_suffix .hex)'

complete -c qorhex -s h -l help -d 'Show the options'
complete -c qorhex -s v -l verbose -d 'Tell more'
complete -c qorhex -s p -l progress -d 'Show progress of operation'
complete -c qorhex -s V -l version -d 'Show the version'
complete -c qorhex -s l -l long -d 'Add gaps, CRC-32, lines, regions and a bar'
# The argument is optional, and then in the same word.
complete -c qorhex -s x -l hexdump -d 'Dump the bytes, n per line'
complete -c qorhex -s c -l check -d 'Tell every problem of every file'
complete -c qorhex -l diff -d 'Tell where two images differ'
complete -c qorhex -l format -x -a 'text json' -d 'Form of table, check and differences'
complete -c qorhex -s b -l binary -r -F -d 'Write the whole image, gaps filled'
complete -c qorhex -s o -l output -x -a '(__fish_complete_directories)' -d 'Write every segment'
complete -c qorhex -l ihex -r -F -d 'Write the image as Intel HEX'
complete -c qorhex -l svg -r -F -d 'Draw the memory map as a picture'
complete -c qorhex -s m -l merge -d 'Make one image of all files'
complete -c qorhex -l range -x -d 'Take only first-last or first+size'
complete -c qorhex -l map -r -F -d 'Regions of the memory'
complete -c qorhex -s r -l reverse -d 'Reverse each segment'
complete -c qorhex -l fill -x -d 'Fill gaps of --binary'
complete -c qorhex -l pad -d 'Let --binary cover all of the ranges'
complete -c qorhex -l max-size -x -d 'Largest --binary'
complete -c qorhex -l force -d 'Accept conflicting bytes'
complete -c qorhex -l strict -d 'Leave all reading to the library'
