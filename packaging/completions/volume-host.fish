# Completion for volume-host in fish.
complete -c volume-host -s h -l help -d 'Say how the program is used'
complete -c volume-host -l version -d 'Print the version'
complete -c volume-host -l unlock -x -d 'How to unlock the volume' -a '
    none\t"no secret"
    password\t"the password"
    recovery\t"the recovery password of 48 digits"
    startup-key\t"a key file"
    recovery-file\t"a file with a recovery password"
    key-ring\t"a folder or file with many keys"
    vmk\t"the volume master key"
    fvek\t"the key of the sectors"
'
complete -c volume-host -l explorer -r -F -d 'Start another explorer'
complete -c volume-host -l send -x -d 'Send the explorer one message'
