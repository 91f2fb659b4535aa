# Completion for volume-info in fish.
complete -c volume-info -s h -l help -d 'Say how the program is used'
complete -c volume-info -l version -d 'Print the version'
complete -c volume-info -l unlock -x -d 'How to unlock the volume' -a '
    none\t"no secret"
    password\t"the password"
    recovery\t"the recovery password of 48 digits"
    startup-key\t"a key file"
    recovery-file\t"a file with a recovery password"
    key-ring\t"a folder or file with many keys"
    vmk\t"the volume master key"
    fvek\t"the key of the sectors"
'
complete -c volume-info -l json -d 'Print one JSON document'
complete -c volume-info -l search -d 'Find volumes whose beginning or table is lost'
complete -c volume-info -l show-recovery-password -d 'Print the recovery passwords'
