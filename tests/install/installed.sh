# SPDX-License-Identifier: MIT
# The part that the checks of this folder share. Sourced, with the environment that CMakeLists.txt sets; run by
# hand, a check looks at the release build.
set -euo pipefail
: "${SOURCE_FOLDER:=$(cd "$(dirname "$0")/../.." && pwd)}"
: "${BUILD_FOLDER:=$SOURCE_FOLDER/build/release}"
: "${VERSION:=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$BUILD_FOLDER/CMakeCache.txt")}"
: "${CMAKE:=cmake}"

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
