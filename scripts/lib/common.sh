# What the scripts share. To be sourced; changes into the project's root.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
root=$PWD

# Configures and builds: build_preset PRESET [TARGET...]
build_preset() {
    local preset=$1
    shift
    mkdir -p "build/$preset"
    cmake --preset "$preset" >"build/$preset/configure.log" 2>&1 || {
        cat "build/$preset/configure.log" >&2
        return 1
    }
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
