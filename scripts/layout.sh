# shellcheck shell=bash
# What the zip and the Debian package have in common. Sourced after common.sh and build.sh.

# package_time: the time of the commit, since the files have the time of their checkout.
package_time() {
    git -c safe.directory='*' -C "$ROOT" log -1 --format=%ct 2>/dev/null || echo 315532800
}

# lay_out_documents FOLDER: the documents and the examples, so that links among them lead somewhere.
lay_out_documents() {
    mkdir -p "$1"
    cp -r "$ROOT/README.md" "$ROOT/docs" "$ROOT/examples" "$1"
    find "$1" -name __pycache__ -prune -exec rm -r {} +
}

# lay_out_cmake FOLDER: what find_package(Keyreap) reads, and what the examples are built with.
lay_out_cmake() {
    mkdir -p "$1"
    cp "$ROOT"/cmake/{Keyreap,KeyreapCapture,KeyreapConfig,KeyreapKit,mingw,typelibrary}.cmake "$ROOT/cmake/oaidl.idl" "$1"
    fill_in "$ROOT/packaging/KeyreapConfigVersion.cmake.in" >"$1/KeyreapConfigVersion.cmake"
}

# fill_in TEMPLATE: prints it with the version and the day of the package.
fill_in() {
    sed -e "s/@VERSION@/$(project_version)/g" -e "s/@DATE@/$(date -u -d "@$(package_time)" +%F)/g" "$1"
}
