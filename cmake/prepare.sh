# prepare.sh - sourced by run, test and bench/run: installs what is missing, quietly, and builds a
# preset. Needs no network once everything is there.

# require_packages [all]: the packages of packages.txt, with `all` those of the benchmarks too.
require_packages() {
  missing=
  for package in $(awk -v all="${1-}" '/^#/ {next} /^$/ {if (all == "") exit; next} {print}' packages.txt); do
    dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing="$missing $package"
  done
  [ -z "$missing" ] && return
  as_root=
  [ "$(id -u)" -eq 0 ] || as_root=sudo
  log=$(mktemp)
  # shellcheck disable=SC2086  # package names are words
  { $as_root apt-get update -qq &&
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing; } > "$log" 2>&1 || {
    cat "$log" >&2
    echo "Cannot install:$missing" >&2
    exit 1
  }
  rm -f "$log"
}

# build_preset NAME [TARGET...]: configures and builds build/NAME; prints only what fails.
build_preset() {
  preset=$1
  shift
  mkdir -p "build/$preset"
  log=build/$preset/build.log
  { cmake --preset "$preset" && cmake --build --preset "$preset" ${1+--target "$@"}; } > "$log" 2>&1 || {
    cat "$log" >&2
    exit 1
  }
}
