# Sourced by ./run and ./test: installs Debian packages that are missing, quietly.

need_packages() {
  missing=""
  for package in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
      missing="$missing $package"
    fi
  done
  [ -z "$missing" ] && return 0
  echo "Installing:$missing"
  as_root=""
  [ "$(id -u)" -eq 0 ] || as_root="sudo"
  log=$(mktemp)
  # Lists may be old or absent; they are fetched when an install without them fails.
  # shellcheck disable=SC2086
  if ! DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends \
      $missing >"$log" 2>&1; then
    if ! { $as_root apt-get update -qq && DEBIAN_FRONTEND=noninteractive $as_root apt-get install \
        -y -qq --no-install-recommends $missing; } >"$log" 2>&1; then
      cat "$log" >&2
      echo "The packages$missing could not be installed." >&2
      rm -f "$log"
      return 1
    fi
  fi
  rm -f "$log"
}

BUILD_PACKAGES="g++ cmake ninja-build ccache qt6-base-dev"
DESKTOP_PACKAGES="xvfb xdotool openbox imagemagick"
TEST_PACKAGES="libgtest-dev binutils gcc-arm-none-eabi srecord fonts-dejavu-core $DESKTOP_PACKAGES"
LINT_PACKAGES="clang-format clang-tidy"
BENCH_PACKAGES="binutils srecord"
FUZZ_PACKAGES="clang"
