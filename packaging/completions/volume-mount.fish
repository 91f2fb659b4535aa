# Completion for volume-mount in fish.
complete -c volume-mount -s h -l help -d 'Say how the program is used'
complete -c volume-mount -l version -d 'Print the version'
complete -c volume-mount -l unlock -x -d 'How to unlock the volume' -a '
    @kinds@
'
complete -c volume-mount -l background -d 'Return as soon as the volume is mounted'
complete -c volume-mount -l allow-other -d 'Let other users read it'
