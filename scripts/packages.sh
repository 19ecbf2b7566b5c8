# Copyright (c) 2026 The glissa authors
# SPDX-License-Identifier: MIT
# Sourced by the scripts that build: installs Debian packages and prepares build folders.

# Installs the named packages that are missing, as root or with sudo. If that is not possible, prints a
# message and continues.
need_packages() {
    local package missing=() as_root=()
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        echo "packages: there is no apt-get; nothing is installed"
        return
    fi
    for package in "$@"; do
        if [[ $(dpkg-query -W -f='${Status}' "$package" 2>/dev/null) != "install ok installed" ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        echo "packages: all installed"
        return
    fi
    echo "packages: missing ${missing[*]}"
    if [[ $(id -u) != 0 ]]; then
        if ! command -v sudo >/dev/null; then
            echo "packages: neither root nor sudo; nothing is installed"
            return
        fi
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
    echo "packages: installed ${missing[*]}"
}

# The packages for all builds of the project.
build_packages=(g++ cmake ninja-build pkg-config libcli11-dev libfmt-dev libcairo2-dev
    nlohmann-json3-dev)
# What the tests need besides.
test_packages=(libgtest-dev libmpfr-dev)

# Configures a preset in build/<preset>. A folder of another checkout is deleted first.
configure_preset() {
    local preset=$1 cache=build/$1/CMakeCache.txt
    shift
    if [[ -f $cache ]] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$cache"; then
        rm -rf "build/$preset"
    fi
    if command -v ccache >/dev/null; then
        set -- "$@" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
    cmake --preset "$preset" -DGLISSA_REQUIRE_PARTS=ON "$@"
}
