# Completion for volume-host in fish.
complete -c volume-host -s h -l help -d 'Say how the program is used'
complete -c volume-host -l version -d 'Print the version'
complete -c volume-host -l unlock -x -d 'How to unlock the volume' -a '
    @kinds@
'
complete -c volume-host -l explorer -r -F -d 'Start another explorer'
complete -c volume-host -l send -x -d 'Send the explorer one message'
