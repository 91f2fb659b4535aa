# Completion for volume-export in fish.
# After the volume come paths on it, which only the volume knows; files are offered for the volume.
complete -c volume-export -s h -l help -d 'Say how the program is used'
complete -c volume-export -l version -d 'Print the version'
complete -c volume-export -l unlock -x -d 'How to unlock the volume' -a '
    none\t"no secret"
    password\t"the password"
    recovery\t"the recovery password of 48 digits"
    startup-key\t"a key file"
    recovery-file\t"a file with a recovery password"
    key-ring\t"a folder or file with many keys"
    vmk\t"the volume master key"
    fvek\t"the key of the sectors"
'
complete -c volume-export -l list -d 'List files and folders'
complete -c volume-export -l recursive -d 'List everything below as well'
complete -c volume-export -l json -d 'List one JSON object on each line'
complete -c volume-export -l to -x -a '(__fish_complete_directories)' -d 'Export to a folder'
complete -c volume-export -l raw -r -F -d 'Write the decrypted volume to a file'
complete -c volume-export -l dry-run -d 'Write nothing, say what would be exported'
complete -c volume-export -l streams -d 'Export the named streams of files'
complete -c volume-export -l no-times -d 'Do not keep dates'
complete -c volume-export -l no-empty-folders -d 'Make only folders that get a file'
complete -c volume-export -l manifest -r -F -d 'Write the SHA-256 of every file'
complete -c volume-export -l report -r -F -d 'Write what was exported and missed as JSON'
complete -c volume-export -l verify -d 'Read everything again and compare it'
complete -c volume-export -l resume -d 'Leave out what an earlier export has completed'
complete -c volume-export -l sync -d 'Make each file durable before it is reported'
complete -c volume-export -l verbose -d 'Name everything that is only counted otherwise'
complete -c volume-export -l no-space-check -d 'Begin even if there is not enough room'
complete -c volume-export -l include -x -d 'Names to choose'
complete -c volume-export -l exclude -x -d 'Names to leave out'
complete -c volume-export -l min-size -x -d 'Only files of at least this size'
complete -c volume-export -l max-size -x -d 'Only files of at most this size'
complete -c volume-export -l newer -x -d 'Only files modified at this time or later'
complete -c volume-export -l older -x -d 'Only files modified before this time'
complete -c volume-export -l map -r -F -d 'Do not read what this ddrescue map lacks'
complete -c volume-export -l write-map -r -F -d 'Write a map of the sectors that are needed'
complete -c volume-export -l retries -x -d 'Read a bad place so many times more'
complete -c volume-export -l skip-slow -x -d 'Skip the surroundings of a slow read'
