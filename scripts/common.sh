# Set-up shared by the commands: packages, configuration, build. A step prints nothing when there is
# nothing to do, and reports a failure in one line. To be sourced, not run.

root_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
command_name=$(basename "$0")
log_file=$root_folder/build/setup.log

build_packages=(
    clang cmake ninja-build
    libgnustep-gui-dev libobjc-12-dev libblocksruntime-dev gnustep-back0.29-cairo
    libssl-dev zlib1g-dev libzstd-dev libfuse3-dev fuse3 dosfstools mtools
    libudev-dev libxcb1-dev nlohmann-json3-dev
    fonts-dejavu-core libfribidi0
)
test_packages=(
    libgtest-dev libgmock-dev
    xvfb xdotool xclip x11-apps x11-utils openbox imagemagick fonts-wqy-microhei
    ntfs-3g exfatprogs exfat-fuse fusefat fdisk qemu-utils ewf-tools attr xz-utils
    bzip2 zstd lz4 p7zip-full zip unzip libvhdi-utils
    rsync gddrescue libwim-dev wimtools sleuthkit python3 cryptsetup-bin strace acl
    lintian desktop-file-utils appstream bash-completion zsh fish
)
package_packages=(dpkg-dev file)
# On macOS, with Homebrew; the compiler comes with Xcode.
mac_packages=(cmake ninja openssl@3 zlib zstd nlohmann-json googletest dosfstools mtools)
gate_packages=(clang-format clang-tidy libclang-rt-14-dev mmdebstrap)

# The folders with the product's sources in the current folder, each on a line.
product_folders() {
    local folder
    for folder in */; do
        case $folder in
        Benchmarks/ | Tests/ | build/ | cmake/ | docs/ | packaging/ | samples/ | scripts/) ;;
        *) printf '%s\n' "${folder%/}" ;;
        esac
    done
}

say() { printf '%s: %s\n' "$command_name" "$*" >&2; }

fail() {
    say "$*"
    exit 1
}

# answer_help ARGUMENT...: with -h or --help, prints the comment at the top of the script and exits.
answer_help() {
    case ${1-} in
    -h | --help)
        sed -n -e '1d' -e '/^#/!q' -e 's/^# \{0,1\}//p' "$0"
        exit
        ;;
    esac
}

# logged WHAT COMMAND...: runs a step with its output in the log; a failure is reported in one line
# that names the step and the log.
logged() {
    local what=$1
    shift
    { mkdir -p "$(dirname "$log_file")" && : >"$log_file"; } 2>/dev/null ||
        fail "$what failed: cannot write $log_file"
    if ! "$@" >"$log_file" 2>&1 </dev/null; then
        local reason
        reason=$(grep -m1 -E '(^|[: ])(error|fatal error|E|CMake Error[^:]*):' "$log_file" ||
            grep -m1 -iE '(^|[^a-z])(error|fatal|failed|unable)' "$log_file" ||
            tail -n1 "$log_file")
        fail "$what failed: ${reason:-no reason given} (full log: $log_file)"
    fi
}

is_mac() { [ "$(uname -s)" = Darwin ]; }

processors() { getconf _NPROCESSORS_ONLN; }

# One in which every name can be written.
utf8_locale() { locale -a | grep -qx 'C\.[Uu][Tt][Ff]-\{0,1\}8' && echo C.UTF-8 || echo en_US.UTF-8; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        env DEBIAN_FRONTEND=noninteractive "$@"
    else
        sudo env DEBIAN_FRONTEND=noninteractive "$@"
    fi
}

install_packages() {
    as_root apt-get update -qq && as_root apt-get install -y --no-install-recommends "$@"
}

# Names the packages of Homebrew that are missing, and lets the build find the others.
need_mac_packages() {
    local missing=() package
    command -v brew >/dev/null ||
        fail "brew not found; install Homebrew, then: brew install ${mac_packages[*]}"
    for package in "${mac_packages[@]}"; do
        brew list --versions "$package" >/dev/null 2>&1 || missing+=("$package")
        CMAKE_PREFIX_PATH=${CMAKE_PREFIX_PATH:+$CMAKE_PREFIX_PATH:}$(brew --prefix "$package" 2>/dev/null)
    done
    export CMAKE_PREFIX_PATH
    [ ${#missing[@]} -eq 0 ] || fail "packages are missing; run: brew install ${missing[*]}"
}

# need_packages PACKAGE...: installs the missing ones.
need_packages() {
    if is_mac; then
        need_mac_packages
        return
    fi
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null ||
        fail "apt-get not found; install these packages by hand (see docs/building.md): ${missing[*]}"
    say "installing ${missing[*]}"
    logged "installing packages" install_packages "${missing[@]}"
}

# Whether a preset is configured, with the tests if tests_wanted is set: GoogleTest may have been
# installed after a configuration without it.
is_configured() {
    local folder=$root_folder/build/$1
    [ -f "$folder/build.ninja" ] || return 1
    [ -z "${tests_wanted-}" ] || ! grep -q '^GTest_DIR:.*NOTFOUND' "$folder/CMakeCache.txt"
}

# build PRESET [TARGET...]: configures the preset if necessary and builds what is out of date.
build() {
    local preset=$1 folder=$root_folder/build/$1
    shift
    cd "$root_folder" || exit 1
    if ! is_configured "$preset"; then
        say "configuring $preset"
        logged "configuring" cmake --preset "$preset" -DVX_WERROR="${VX_WERROR:-OFF}"
    fi
    if ninja -C "$folder" -n "$@" 2>/dev/null | grep -q 'no work to do'; then
        return
    fi
    say "building $preset"
    logged "building" cmake --build --preset "$preset" ${1:+--target "$@"}
}
