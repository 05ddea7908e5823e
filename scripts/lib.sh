# What the scripts share. Sourced, with the project's folder as the working folder.

# as_root COMMAND…: runs it as it is for root, by sudo for a user.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "tarvel: sudo is needed for: $*" >&2
    return 1
  fi
}

# install_packages GROUP…: installs what is missing of these groups of scripts/packages.
install_packages() {
  local wanted missing=() package
  wanted=$(awk -v groups=" $* " '!/^#/ && index(groups, " " $1 " ") {print $2}' scripts/packages)
  for package in $wanted; do
    dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "Installing ${missing[*]}" >&2
  as_root apt-get update -qq >&2
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# unpack_package PACKAGE: its files below build/unpacked/PACKAGE, where they are not yet. What a package would start or set
# up as it is installed stays off the machine.
unpack_package() {
  local folder=build/unpacked/$1 work
  [ ! -d "$folder" ] || return 0
  work=$(mktemp -d)
  chmod 0755 "$work"
  if ! (cd "$work" && { apt-get download -qq "$1" || { as_root apt-get update -qq && apt-get download -qq "$1"; }; } &&
    dpkg-deb --extract ./*.deb files) >&2; then
    rm -rf "$work"
    return 1
  fi
  mkdir -p build/unpacked
  mv "$work/files" "$folder"
  rm -rf "$work"
}

# build PRESET [CMAKE ARGUMENT…]: configures once and builds what has changed; speaks on standard
# error. The folder is configured anew when it was copied from elsewhere.
build() {
  local preset=$1
  shift
  cmake --preset "$preset" "$@" >/dev/null
  cmake --build --preset "$preset" >&2
}
