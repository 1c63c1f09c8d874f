# Installs the library and builds tests/consumer against what was installed, by find_package and by
# pkg-config. To be sourced after results.sh, for Windows after wine.sh as well.

# Runs a command quietly; its output is shown only if it fails.
quietly() {
    local output status=0
    output=$("$@" 2>&1 </dev/null) || status=$?
    [ "$status" -eq 0 ] || echo "$output"
    return "$status"
}

run_consumer_linux() {
    quietly env LD_LIBRARY_PATH="$installed/lib" timeout 60 "$1"
}

# Only the installed folder is searched for libraries: the compiler's runtime lies there, too.
run_consumer_windows() {
    local status=0
    WINEPATH="Z:${installed//\//\\}\\bin" run_in_wine 60 "$1.txt" "$1.exe" || status=$?
    [ "$status" -eq 0 ] || cat "$1.txt"
    return "$status"
}

build_with_pkg_config() {
    local flags
    flags=$(PKG_CONFIG_LIBDIR="$installed/lib/pkgconfig" pkg-config --cflags --libs quoll) &&
        quietly "$compiler" -std=c++20 tests/consumer/consumer.cpp -o "$consumer/pkg-config-consumer$suffix" $flags
}

consumer_checks() { # preset: debug or windows
    local preset=$1 system=linux compiler=${CXX:-c++} suffix="" toolchain=()
    local installed="$root/build/$preset/installed" consumer="$root/build/$preset/consumer"
    if [ "$preset" = windows ]; then
        system=windows compiler=$windows_compiler suffix=.exe
        toolchain=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_FIND_ROOT_PATH="$installed")
    fi
    rm -rf "$installed" "$consumer"
    mkdir -p "$consumer"
    check_step "the library installs" quietly cmake --install "build/$preset" --prefix "$installed"
    check_step "a project configures by find_package" quietly cmake -G Ninja -S tests/consumer -B "$consumer/build" \
        -DCMAKE_PREFIX_PATH="$installed" "${toolchain[@]}"
    check_step "the project builds" quietly cmake --build "$consumer/build"
    check_step "its program runs" "run_consumer_$system" "$consumer/build/consumer"
    check_step "the README's example runs" "run_consumer_$system" "$consumer/build/example"
    if [ "$system" = windows ]; then
        check_step "its program that includes windows.h first runs" run_consumer_windows \
            "$consumer/build/consumer_windows_first"
    fi
    check_step "a program builds by pkg-config" build_with_pkg_config
    check_step "that program runs" "run_consumer_$system" "$consumer/pkg-config-consumer"
}
