# Sourced by run.sh and test.sh: what both builds share.

# A compiler cache is used where there is one, never needed.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}

# build_preset PRESET [TARGET...]: configures and builds, quietly unless something goes wrong.
build_preset() {
    local preset=$1
    shift
    local targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    cmake --preset "$preset" > /dev/null
    cmake --build --preset "$preset" "${targets[@]}"
}
