#!/usr/bin/env bash
# Installs every Debian package needed to build, run and test MOKUZA-FULL.
# Idempotent: packages already present are skipped; the package index is
# refreshed at most once per run, and only when something is missing.
set -euo pipefail

PACKAGES=(
  # build
  build-essential cmake ninja-build pkg-config ccache
  # toolkit, zip container, text encodings, key state
  qt6-base-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  qt6-translations-l10n
  libqt6dbus6 libqt6svg6 qt6-qpa-plugins qt6-wayland
  libquazip1-qt6-dev zlib1g-dev libdeflate-dev libisal-dev libbz2-dev liblzma-dev libicu-dev
  # WinZip AES: key derivation, AES, HMAC
  libssl-dev
  libx11-dev libxkbcommon-dev libxkbcommon-x11-dev libxcb1-dev libxcb-xkb-dev
  # Wayland key state (Qt's own connection), GNOME's key bindings, the keyring
  libwayland-dev qt6-base-private-dev libglib2.0-dev qtkeychain-qt6-dev libsecret-1-0
  # tests
  libgtest-dev libgmock-dev googletest
  xvfb xauth xdotool x11-utils x11-xkb-utils dbus dbus-x11 python3 python3-dbus python3-gi gir1.2-glib-2.0
  # a headless Wayland session (sway, its XWayland, screenshots), wayland-scanner for
  # the tests' virtual keyboard, GNOME's key-binding schemas, a keyring
  sway xwayland grim libwayland-bin gsettings-desktop-schemas gnome-shell-common
  gnome-settings-daemon-common gnome-keyring
  # sanitizer runs and the fuzz target (libFuzzer, readable stack traces)
  clang libclang-rt-14-dev llvm
  # the Debian package: icons drawn from the SVG, package tools, checks of the
  # desktop entry and the AppStream file
  librsvg2-bin dpkg-dev desktop-file-utils appstream lintian
  # interop peers
  zip unzip p7zip-full libarchive-tools
  # benchmarks (peak memory of a run)
  time
  # looking at it: screenshots, Japanese glyphs, opening the help page
  imagemagick fonts-ipafont-gothic xdg-utils
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  SUDO="sudo"
fi

echo "install-deps: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
