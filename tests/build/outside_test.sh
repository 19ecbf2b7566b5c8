#!/usr/bin/env bash
# Copyright (c) 2026 The glissa authors
# SPDX-License-Identifier: MIT
# Builds and runs the project in outside/ against the libraries.
#   outside_test.sh USE SOURCE BUILD COMPILER
# USE is subproject_shared, subproject_static, installed_shared or installed_static. BUILD is the
# build whose shared libraries are installed; the folders made here are in BUILD/outside.
set -euo pipefail
use=$1 source=$2 build=$3 compiler=$4
outside=$source/tests/build/outside
static_build=$build/outside/subproject_static
work=$build/outside/$use
rm -rf "$work"
mkdir -p "$work"

fail() {
    echo "outside_test: $*" >&2
    exit 1
}

# Configures and builds outside/ in a folder, then runs what came out. A debug build, which is the
# quickest to make: this is about finding and linking.
build_outside() {
    local folder=$1
    shift
    cmake -G Ninja -S "$outside" -B "$folder" -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_COMPILER="$compiler" "$@"
    cmake --build "$folder"
    "$folder/outside"
    "$folder/outside_services"
}

# The installed headers are those of the list, no more and no fewer.
compare_headers() {
    local prefix=$1 expected actual
    expected=$(grep -oE '(corvekit|glissa)/[a-z0-9_/]+\.h' "$source/cmake/PublicHeaders.cmake" | sort)
    actual=$(cd "$prefix/include" && find . -type f | sed 's,^\./,,' | sort)
    [[ -n $expected ]] || fail "no public headers"
    diff <(echo "$expected") <(echo "$actual") || fail "other headers than the public ones"
}

# By CMake package and by pkg-config, from a tree that was moved after it was installed.
use_installed() {
    local from=$1 kind=$2 prefix="$work/a moved prefix" package flags
    cmake --install "$from" --prefix "$work/installed" >"$work/install.log"
    mv "$work/installed" "$prefix"
    compare_headers "$prefix"

    build_outside "$work/by_package" -DCMAKE_PREFIX_PATH="$prefix"

    package=$(find "$prefix" -name glissa.pc -printf '%h\n')
    export PKG_CONFIG_PATH=$package
    # The flags quote the blank in the prefix for a shell.
    flags=$(pkg-config --cflags --libs glissa)
    eval "'$compiler' -std=c++20 '$outside/main.cpp' -o '$work/by_pkg_config' $flags"
    LD_LIBRARY_PATH="${package%/pkgconfig}" "$work/by_pkg_config"
    flags=$(pkg-config --cflags --libs corvekit)
    eval "'$compiler' -std=c++20 '$outside/services.cpp' -o '$work/services' $flags"
    LD_LIBRARY_PATH="${package%/pkgconfig}" "$work/services"

    case $kind in
        shared) [[ -n $(find "$prefix" -name 'libglissa.so.*') ]] || fail "no shared library" ;;
        static) [[ -z $(find "$prefix" -name '*.so*') ]] || fail "a shared library" ;;
    esac
    if [[ -x $prefix/bin/glissa ]]; then
        "$prefix/bin/glissa" --help >/dev/null
    fi
}

case $use in
    subproject_shared)
        build_outside "$work" -DGLISSA_FOLDER="$source"
        [[ -n $(find "$work" -name 'libglissa.so') ]] || fail "shared is not the default"
        [[ ! -e $work/glissa/tests ]] || fail "a subproject builds tests"
        ;;
    subproject_static)
        build_outside "$work" -DGLISSA_FOLDER="$source" -DBUILD_SHARED_LIBS=OFF -DGLISSA_INSTALL=ON
        [[ -z $(find "$work" -name '*.so') ]] || fail "a shared library"
        ;;
    installed_shared) use_installed "$build" shared ;;
    installed_static) use_installed "$static_build" static ;;
    *) fail "unknown use $use" ;;
esac
