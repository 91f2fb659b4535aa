# Completion for volume-host-window in fish.
complete -c volume-host-window -s h -l help -d 'Say how the program is used'
complete -c volume-host-window -l version -d 'Print the version'
