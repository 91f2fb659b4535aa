# Completion for volume-info in fish.
complete -c volume-info -s h -l help -d 'Say how the program is used'
complete -c volume-info -l version -d 'Print the version'
complete -c volume-info -l unlock -x -d 'How to unlock the volume' -a '
    @kinds@
'
complete -c volume-info -l json -d 'Print one JSON document'
complete -c volume-info -l search -d 'Find volumes whose beginning or table is lost'
complete -c volume-info -l show-recovery-password -d 'Print the recovery passwords'
