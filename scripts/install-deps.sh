#!/usr/bin/env bash
# Installs the Debian packages a task needs, if any is missing.
# Usage: scripts/install-deps.sh GROUP...   (groups: build run test package)
set -euo pipefail

packages=()
for group in "$@"; do
    case "$group" in
    build)
        packages+=(cmake make g++ pkg-config qtbase5-dev qtbase5-dev-tools libqt5serialport5-dev
                   libv4l-dev libudev-dev libjpeg62-turbo-dev psmisc fonts-dejavu-core) ;;
    run)
        packages+=(xvfb xauth xdotool imagemagick) ;;
    test)
        packages+=(xvfb xauth desktop-file-utils appstream groff-base dpkg-dev file) ;;
    package)
        packages+=(dpkg-dev file) ;;
    *)
        echo "install-deps: unknown group '$group'" >&2
        exit 2 ;;
    esac
done

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
    apt_get=(apt-get)
elif command -v sudo >/dev/null; then
    apt_get=(sudo apt-get)
else
    echo "install-deps: these Debian packages are missing and I am not root: ${missing[*]}" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
"${apt_get[@]}" update -qq
"${apt_get[@]}" install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
