# What the checks of this folder share. Sourced, with the environment that CMakeLists.txt sets.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT

fail() {
    echo "$(basename "$0"): $*" >&2
    exit 1
}

# Fails unless two texts are equal.
#   expect_equal WHAT EXPECTED FOUND
expect_equal() {
    [ "$2" = "$3" ] || fail "$1: expected \"$2\", found \"$3\""
}

# Installs a component of the build below $work/usr.
install_component() {
    "$CMAKE" --install "$BUILD_FOLDER" --prefix "$work/usr" --component "$1" >/dev/null
}
