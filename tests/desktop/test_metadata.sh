#!/usr/bin/env bash
# Runs the freedesktop and AppStream validators on the installed desktop
# entry and metainfo (the tree check also matches the metainfo to its
# desktop entry and icon), and lints the man page.
# Usage: test_metadata.sh STAGE_PREFIX   (after desktop_install)
set -uo pipefail
. "$(dirname "$0")/checks.sh"
stage=$1
skip_without desktop-file-validate desktop-file-utils
skip_without appstreamcli appstream
skip_without groff groff-base

desktop=$stage/share/applications/com.kelvane.TarvelloCenter.desktop
metainfo=$stage/share/metainfo/com.kelvane.TarvelloCenter.metainfo.xml
check "desktop-file-validate accepts the desktop entry" desktop-file-validate "$desktop"
check "desktop entry starts the launcher" grep -qx 'Exec=tarvello-center' "$desktop"
check "desktop entry names the installed icon" grep -qx 'Icon=tarvello-center' "$desktop"
check "appstreamcli accepts the metainfo" appstreamcli validate --no-net --strict "$metainfo"
check "appstreamcli accepts the installed tree" appstreamcli validate-tree --no-net --strict "$stage"

manpage=$(mktemp)
trap 'rm -f "$manpage"' EXIT
gzip -dc "$stage/share/man/man1/tarvello-center.1.gz" >"$manpage"
check "man page formats without warnings" \
    bash -c '[ -z "$(groff -man -ww -z "$1" 2>&1)" ]' _ "$manpage"
for text in IMAGEACQUISITION_VIRTUAL_CAMERAS /dev/ttyACM0 './fuser' 70-tarvello-center.rules 'fuser (1)'; do
    check "man page mentions $text" grep -qF -- "$text" <(sed 's/^\.BR //' "$manpage")
done
finish
