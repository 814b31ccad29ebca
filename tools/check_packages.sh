#!/usr/bin/env bash
# Makes the Debian packages of build/release, looks at them with lintian, installs them, uses them and purges them.
# Needs root or sudo, and a built release form with the Python module.
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

packages=build/release/packages
rm -rf "$packages"
(cd build/release && cpack -G DEB >packages.log) || { cat build/release/packages.log >&2; exit 1; }
lintian --allow-root --fail-on error --suppress-tags bad-distribution-in-changes-file "$packages"/*.deb

# A machine may be set up to leave manual pages out.
dpkg-deb --fsys-tarfile "$packages"/qelt-tools_*.deb | tar --extract --to-stdout ./usr/share/man/man1/cscan.1.gz |
    gunzip | grep --quiet '^.SS cscan prepare'

mapfile -t names < <(for file in "$packages"/*.deb; do dpkg-deb --field "$file" Package; done)
purge() {
    missing=("${names[@]}")
    run_apt_get purge --yes "${names[@]}" >/dev/null
}
missing=("${names[@]}")
trap purge EXIT
run_apt_get install --yes --no-install-recommends "$PWD/$packages"/*.deb >/dev/null

consumer=build/release/packaged_consumer
rm -rf "$consumer"
mkdir -p "$consumer"
(
    cd "$consumer"
    cscan --version
    /usr/bin/python3 -c 'import qelt; print("qelt", qelt.__version__)'
)
cmake -S tests/consumer -B "$consumer/build" -D USE_INSPECTION=ON -D CMAKE_BUILD_TYPE=Release --log-level=NOTICE
cmake --build "$consumer/build"
ctest --test-dir "$consumer/build" --output-on-failure

trap - EXIT
purge
if dpkg --listfiles "${names[@]}" 2>/dev/null || [ -e /usr/include/QELTGeometry ]; then
    echo "Something of the packages is left behind" >&2
    exit 1
fi
