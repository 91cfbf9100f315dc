# shellcheck shell=bash disable=SC2034
# Sourced by the house's checks: trackedFiles PATTERN... fills the array "files", never with none.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../.."

trackedFiles() {
    # Whoever owns the tree: these checks only read it.
    mapfile -d '' -t files < <(git -c safe.directory='*' ls-files -z -- "$@")
    if ((${#files[@]} == 0)); then
        echo "git lists no file for: $*"
        exit 1
    fi
}
