# Shell code that ./test, ./demo, ./bench and .ci/run share; to be sourced. Sets the working directory to the
# repository's root.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build_packages=(g++ cmake ninja-build pkg-config libgtest-dev libbenchmark-dev libcli11-dev libpng-dev locales
    libeigen3-dev libembree-dev libassimp-dev nlohmann-json3-dev zlib1g-dev libhdf5-dev libtiff-dev)
# Of the Python module, its tests and its example.
python_packages=(python3-dev python3-venv python3-pip python3-setuptools python3-wheel pybind11-dev python3-numpy
    python3-pytest python3-matplotlib python3-h5py python3-distributed python3-dask mypy)
check_packages=(clang clang-format clang-tidy libclang-rt-14-dev lld lintian chromium
    python3-numpy python3-pil python3-vtk9 doxygen)
# What the library is measured beside, for ./bench.
peer_packages=(libcgal-dev libnanoflann-dev libtinyobjloader-dev)
# Where node comes from elsewhere, Debian's npm cannot be installed beside it.
if ! command -v npm >/dev/null; then
    build_packages+=(nodejs npm)
fi
build_jobs=${QELT_JOBS:-$(nproc)}

is_installed() {
    [ "$(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Runs apt-get without questions, as root or through sudo.
run_apt_get() {
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "These packages are missing and installing them needs root or sudo: ${missing[*]}" >&2
            exit 1
        fi
        as_root=(sudo)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get --quiet --quiet "$@"
}

# install_packages NAME...: installs those Debian packages that are missing; does nothing when all are there.
install_packages() {
    if ! command -v dpkg-query >/dev/null; then
        echo "No Debian package manager here; expecting the equivalents of: $*" >&2
        return
    fi
    local name missing=()
    for name in "$@"; do
        is_installed "$name" || missing+=("$name")
    done
    if [ "${#missing[@]}" -eq 0 ]; then
        return
    fi
    echo "Installing ${missing[*]}"
    run_apt_get update
    run_apt_get install --yes --no-install-recommends "${missing[@]}" >/dev/null
}

# build_preset PRESET [TARGET...]: configures and builds one preset in build/PRESET.
build_preset() {
    local preset=$1
    shift
    local targets=()
    if [ "$#" -gt 0 ]; then
        targets=(--target "$@")
    fi
    cmake --preset "$preset" --log-level=NOTICE
    cmake --build --preset "$preset" --parallel "$build_jobs" "${targets[@]}"
}
