# Completion for volume-export, volume-host, volume-host-window, volume-info and volume-mount in bash. It
# is loaded under the name of each of them.

# The options of a program, and after "=" what follows each that has a value.
_volume_explorer_options() {
    case $1 in
    volume-export)
        echo --dry-run --exclude=text --help --include=text --json --list --manifest=file \
            --map=file --max-size=text --min-size=text --newer=text --no-empty-folders \
            --no-space-check --no-times --older=text --raw=file --recursive --report=file \
            --resume --retries=text --skip-slow=text --streams --sync --to=folder --unlock=kind \
            --verbose --verify --version --write-map=file
        ;;
    volume-host) echo --explorer=file --help --send=text --unlock=kind --version ;;
    volume-host-window) echo --help --version ;;
    volume-info) echo --help --json --search --show-recovery-password --unlock=kind --version ;;
    volume-mount) echo --allow-other --background --help --unlock=kind --version ;;
    esac
}

# Replies with those of the words that begin with the typed one.
_volume_explorer_reply() {
    local IFS=$' \t\n'
    compopt +o default
    COMPREPLY=($(compgen -W "$2" -- "$1"))
}

# Replies with a value of the named sort. Without a reply bash completes the names of files itself.
_volume_explorer_value() {
    case $2 in
    kind) _volume_explorer_reply "$1" 'none password recovery startup-key recovery-file key-ring vmk fvek' ;;
    folder) compopt +o default -o dirnames ;;
    text) compopt +o default ;;
    file) ;;
    esac
}

# Replies with the disks, and with the files of this folder, while nothing is typed.
_volume_explorer_volume() {
    [[ -z $1 ]] || return 0
    local name
    compopt -o filenames
    while IFS= read -r name; do
        COMPREPLY+=("$name")
    done < <(compgen -f -- '')
    for name in /dev/sd* /dev/nvme*n* /dev/mmcblk* /dev/vd* /dev/xvd* /dev/loop* /dev/mapper/*; do
        [[ ! -b $name ]] || COMPREPLY+=("$name")
    done
}

# Replies with what SECRET can be: asked for, or read from a file or a descriptor; for some kinds a path.
_volume_explorer_secret() {
    local name
    case $2:$1 in
    none:*) compopt +o default ;;
    *:@*)
        compopt -o filenames
        while IFS= read -r name; do
            COMPREPLY+=("@$name")
        done < <(compgen -f -- "${1#@}")
        ;;
    password:* | recovery:*) _volume_explorer_reply "$1" '- @ fd:' ;;
    esac
    compopt -o nospace
}

# How a word that is no option is called: volume, the first; folder, the second of volume-mount; text.
_volume_explorer_operand() {
    case $1:$2 in
    *:0) echo volume ;;
    volume-mount:1) echo folder ;;
    *) echo text ;;
    esac
}

# What is expected after the words before the cursor: "option", "secret KIND", or the sort of a value or
# operand; and whether options may come.
_volume_explorer_expected() {
    local program=$1 options=" $2 " word expected= operands=0 only_operands=
    shift 2
    for word; do
        case $expected in
        kind) expected="secret $word" ;;
        ?*) expected= ;;
        *)
            if [[ $word != -?* || -n $only_operands ]]; then
                ((++operands))
            elif [[ $word == -- ]]; then
                only_operands=yes
            elif [[ $options == *" $word="* ]]; then
                expected=${options#*" $word="}
                expected=${expected%% *}
            fi
            ;;
        esac
    done
    [[ -n $expected ]] || expected="operand $(_volume_explorer_operand "$program" "$operands") $only_operands"
    echo "$expected"
}

_volume_explorer() {
    local IFS=$' \t\n' program=${1##*/} options word words index before=() sort detail only i
    # "=" is a word of its own, "@" and ":" belong to theirs.
    _get_comp_words_by_ref -n @: -c word -w words -i index
    options=$(_volume_explorer_options "$program")
    for ((i = 1; i < index; ++i)); do
        [[ ${words[i]} == = ]] || before+=("${words[i]}")
    done
    [[ $word != = ]] || word=
    COMPREPLY=()
    read -r sort detail only < <(_volume_explorer_expected "$program" "$options" "${before[@]}")
    case $sort in
    secret) _volume_explorer_secret "$word" "$detail" ;;
    operand)
        if [[ $word == -* && -z $only ]]; then
            _volume_explorer_reply "$word" "$(printf '%s ' $options | sed 's/=[a-z]*//g')"
        elif [[ $detail == volume ]]; then
            _volume_explorer_volume "$word"
        else
            _volume_explorer_value "$word" "$detail"
        fi
        ;;
    *) _volume_explorer_value "$word" "$sort" ;;
    esac
}

complete -o default -F _volume_explorer volume-export volume-host volume-host-window volume-info volume-mount
