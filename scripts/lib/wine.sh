# Runs Windows programs under Wine, without a display and with a prefix in the build folder. To be
# sourced after common.sh.
windows_compiler=x86_64-w64-mingw32-g++-posix

start_wine() {
    export WINEPREFIX="$root/build/windows/wine-prefix"
    export WINEDEBUG=-all
    # No debugger at a crash, no questions about optional parts.
    export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
    unset DISPLAY WAYLAND_DISPLAY
    trap stop_wine EXIT
    [ -e "$WINEPREFIX/ready" ] || rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    # One server for all programs: one that ends behind the last of them takes along who comes at that moment.
    wineserver -p >/dev/null 2>&1 </dev/null || true # it may be there already
    if [ ! -e "$WINEPREFIX/ready" ]; then
        timeout 300 wineboot -i >"$WINEPREFIX.log" 2>&1 </dev/null
        # Debian's default is an older Windows.
        timeout 60 wine winecfg /v win10 >>"$WINEPREFIX.log" 2>&1 </dev/null
        touch "$WINEPREFIX/ready"
    fi
}

stop_wine() {
    wineserver -k 2>/dev/null || true
}

# The folders of the compiler's runtime libraries, as Wine's search path wants them.
runtime_path() {
    local library folders=""
    for library in libstdc++-6.dll libwinpthread-1.dll; do
        folders+="Z:$(dirname "$(realpath "$("$windows_compiler" -print-file-name="$library")")");"
    done
    echo "${folders//\//\\}"
}

# Output goes to a file, since Wine's servers would keep a pipe open:
# run_in_wine SECONDS OUTPUT PROGRAM [ARGUMENT...]
run_in_wine() {
    local limit=$1 output=$2
    shift 2
    timeout -k 10 "$limit" wine "$@" >"$output" 2>&1 </dev/null
}
