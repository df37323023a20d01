# What the scripts share: the project's folder, the packages it needs, the presets' builds.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# A script leaves nothing behind: neither Python's caches in the tree nor anything in the temporary folder.
export PYTHONDONTWRITEBYTECODE=1
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

run_packages=(libicu72 libqt6widgets6)
build_packages=(g++ cmake ninja-build pkg-config libicu-dev libcli11-dev nlohmann-json3-dev
    libgtest-dev libgmock-dev qt6-base-dev libxcb1-dev python3)
test_packages=(locales fonts-dejavu-core xvfb xauth xdotool iproute2 util-linux
    tshark dpkg-dev lintian clang llvm libclang-rt-14-dev)
bench_packages=(libbenchmark-dev)
check_packages=(clang-tidy clang-format shellcheck flake8 mandoc git)
coverage_packages=(gcovr)

# Installs what is missing of the given Debian packages; quiet and quick when nothing is.
need_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local root=()
    [ "$(id -u)" = 0 ] || root=(sudo)
    echo "Installing: ${missing[*]}" >&2
    # The system's own updates may hold the lock for a while.
    "${root[@]}" apt-get -o DPkg::Lock::Timeout=300 update -qq >&2
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 \
        install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# Ends the script, and says who has it, when one of the fixed ports is taken.
need_ports() {
    local port holder who taken=
    for port in 10250 10251 10252; do
        holder=$(ss -Hulnp "sport = :$port")
        [ -n "$holder" ] || continue
        who=$(sed -nE 's/.*users:\(\("([^"]*)",pid=([0-9]+).*/by \1, process \2/p;q' <<<"$holder")
        echo "UDP port $port is taken ${who:-by a process that only root can see}" >&2
        taken=1
    done
    [ -z "$taken" ] || exit 1
}

# Configures and builds a preset; prints what the compiler says only when it fails.
build_preset() { # preset [target...]
    local preset=$1 log
    shift
    mkdir -p build
    log=build/$preset.log
    echo "Building $preset: from nothing some 2 minutes on two cores. What the compiler says goes to $log" >&2
    if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${@:+--target "$@"}; } >"$log" 2>&1; then
        grep -E 'error|warning|FAILED|CMake Error' -A 5 "$log" | head -n 60 >&2 || tail -n 40 "$log" >&2
        echo "Building $preset failed; the whole output is in $log" >&2
        return 1
    fi
}
