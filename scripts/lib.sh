# shellcheck shell=bash
# Shared by the scripts in this folder: sourced, never run. Leaves the caller at the project's root.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

# What the release build and its tests need.
# shellcheck disable=SC2034  # used by the scripts that source this one
build_packages=(g++ cmake ninja-build libgtest-dev libgmock-dev libgmp-dev python3)

say() { printf '\n== %s\n' "$*"; }

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# options "OPTION…" ARGUMENT…: fails when an argument is none of the options.
options() {
  local given
  for given in "${@:2}"; do
    [[ " $1 " == *" $given "* ]] || fail "there is no '$given'; the head of $0 tells what there is"
  done
}

# need PACKAGE…: installs the Debian packages that are missing, and touches nothing when none is.
need() {
  local package missing=()
  if ! command -v dpkg-query >/dev/null; then
    printf 'Not a Debian system: what these packages hold must be there already: %s\n' "$*" >&2
    return
  fi
  for package; do
    is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  say "installing ${missing[*]}"
  apt_install "${missing[@]}" || { as_root apt-get -q update && apt_install "${missing[@]}"; } ||
    fail "apt cannot install what is missing: ${missing[*]}"
}

is_installed() {
  [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

apt_install() {
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get -q -y -o Dpkg::Use-Pty=0 install --no-install-recommends "$@"
}

as_root() {
  if ((EUID == 0)); then "$@"; else sudo "$@"; fi
}

# build PRESET [TARGET…]: configures and builds; what was done before is not done again.
build() {
  local preset=$1 log=build/$1.configure.log
  shift
  say "building the preset '$preset' in build/$preset"
  mkdir -p build
  cmake --preset "$preset" >"$log" 2>&1 || { cat "$log" && fail "cannot configure '$preset'"; }
  cmake --build --preset "$preset" ${1:+--target "$@"}
}

# run_hosts PRESET TREE [ARGUMENT…]: installs what the preset has built below TREE, builds the hosts
# of examples/ there against what was installed, and runs them. Arguments are the first one's.
run_hosts() {
  local tree=$2 prefix=$2/prefix hosts=$2/examples host
  say "installing into $prefix and building the hosts there"
  cmake --install "build/$1" --prefix "$prefix" >"$tree.install.log"
  cmake -S examples -B "$hosts" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_PREFIX_PATH="$PWD/$prefix" >"$tree.configure.log"
  cmake --build "$hosts"
  say "running cul-demo ${*:3}"
  "$hosts/cul-demo" "${@:3}"
  say "running cul-inspect"
  "$hosts/cul-inspect" cul-demo examples
  say "running cul-parts"
  "$hosts/cul-parts" "$prefix/share/locale"
  for host in cul-metered cul-timelapse; do
    say "running $host"
    "$hosts/$host"
  done
}

# sources FOLDER…: the C++ files below those of the folders that are there, NUL-terminated.
sources() {
  local folder there=()
  for folder; do [[ ! -d $folder ]] || there+=("$folder"); done
  ((!${#there[@]})) || find "${there[@]}" \( -name '*.h' -o -name '*.cpp' \) -print0 | sort -z
}
