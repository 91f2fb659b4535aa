# Completion for volume-mount in fish.
complete -c volume-mount -s h -l help -d 'Say how the program is used'
complete -c volume-mount -l version -d 'Print the version'
complete -c volume-mount -l unlock -x -d 'How to unlock the volume' -a '
    none\t"no secret"
    password\t"the password"
    recovery\t"the recovery password of 48 digits"
    startup-key\t"a key file"
    recovery-file\t"a file with a recovery password"
    key-ring\t"a folder or file with many keys"
    vmk\t"the volume master key"
    fvek\t"the key of the sectors"
'
complete -c volume-mount -l background -d 'Return as soon as the volume is mounted'
complete -c volume-mount -l allow-other -d 'Let other users read it'
