#!/usr/bin/env bash
# The Debian package made from a build folder (the programs as built, no new
# build): the files it installs, its dependencies, the command line's lack of
# widgets, and the desktop entry, AppStream file and file-manager actions it
# installs. Installing it is tried by hand, not here.
#   check-package.sh BUILD_DIR
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

(cd "$build" && cpack -G DEB -B "$work/out" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log" >&2; fail "cpack"; }
deb=$(ls "$work"/out/mokuza-full_*_amd64.deb)

dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $1, $6}' | sed 's| \./| /|' | sort >"$work/files"
sort >"$work/expected" <<'LIST'
-rwxr-xr-x /usr/bin/mokuza
-rwxr-xr-x /usr/bin/mokuza-full
-rw-r--r-- /usr/share/applications/mokuza-full.desktop
-rw-r--r-- /usr/share/doc/mokuza-full/changelog.gz
-rw-r--r-- /usr/share/doc/mokuza-full/copyright
-rw-r--r-- /usr/share/bash-completion/completions/mokuza
-rw-r--r-- /usr/share/file-manager/actions/mokuza-full-compress.desktop
-rw-r--r-- /usr/share/file-manager/actions/mokuza-full-extract.desktop
-rw-r--r-- /usr/share/icons/hicolor/16x16/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/22x22/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/24x24/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/32x32/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/48x48/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/64x64/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/128x128/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/256x256/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/512x512/apps/mokuza-full.png
-rw-r--r-- /usr/share/icons/hicolor/scalable/apps/mokuza-full.svg
-rw-r--r-- /usr/share/kio/servicemenus/mokuza-full-compress.desktop
-rw-r--r-- /usr/share/kio/servicemenus/mokuza-full-extract.desktop
-rw-r--r-- /usr/share/man/ja/man1/mokuza.1.gz
-rw-r--r-- /usr/share/man/man1/mokuza-full.1.gz
-rw-r--r-- /usr/share/man/man1/mokuza.1.gz
-rw-r--r-- /usr/share/metainfo/jp.mokuza.MOKUZA-FULL.metainfo.xml
-rw-r--r-- /usr/share/mokuza-full/help/index.html
-rw-r--r-- /usr/share/mokuza-full/translations/mokuza-cli_ja.qm
-rw-r--r-- /usr/share/nemo/actions/mokuza-full-compress.nemo_action
-rw-r--r-- /usr/share/nemo/actions/mokuza-full-extract.nemo_action
LIST
diff -u "$work/expected" "$work/files" || fail "the package's files differ from the list"

# Depends: computed from the linked libraries, plus the plug-ins named by hand.
depends=$(dpkg-deb -f "$deb" Depends)
for package in libqt6core6 libqt6widgets6 libqt6dbus6 libquazip1-qt6-1 libicu72 libdeflate0 libssl3 \
               qt6-qpa-plugins libqt6svg6 qt6-translations-l10n; do
  grep -qE "(^|, )$package( |,|$)" <<<"$depends" || fail "Depends lacks $package: $depends"
done

dpkg-deb -x "$deb" "$work/root"
root=$work/root
# The command line needs no widgets, not even indirectly.
if objdump -p "$root/usr/bin/mokuza" | grep -E 'NEEDED +libQt6(Widgets|Gui)'; then
  fail "mokuza links a widget library"
fi
desktop-file-validate "$root/usr/share/applications/mokuza-full.desktop" || fail "desktop entry"
grep -qx 'Exec=mokuza-full %F' "$root/usr/share/applications/mokuza-full.desktop" || fail "desktop Exec"
grep -q '^MimeType=application/zip;' "$root/usr/share/applications/mokuza-full.desktop" || fail "desktop MimeType"
appstreamcli validate --no-net "$root/usr/share/metainfo/jp.mokuza.MOKUZA-FULL.metainfo.xml" \
  || fail "AppStream file"
# Every action starts the application with the selection and the job it
# names, under the names the menus show.
for action in "$root"/usr/share/kio/servicemenus/* "$root"/usr/share/nemo/actions/* \
              "$root"/usr/share/file-manager/actions/*; do
  case "$action" in
    *compress*) grep -q '^Name=MOKUZA-FULL で圧縮$' "$action" || fail "$action: Name"
                grep -qx 'Exec=mokuza-full --compress %F' "$action" || fail "$action: Exec" ;;
    *extract*) grep -q '^Name=MOKUZA-FULL で解凍$' "$action" || fail "$action: Name"
               grep -qx 'Exec=mokuza-full --extract %F' "$action" || fail "$action: Exec" ;;
    *) fail "$action: neither compress nor extract" ;;
  esac
done
grep -q '^Extensions=zip;$' "$root/usr/share/nemo/actions/mokuza-full-extract.nemo_action" || fail "Nemo zip only"
grep -q '^MimeType=application/zip;$' "$root/usr/share/kio/servicemenus/mokuza-full-extract.desktop" \
  || fail "Dolphin zip only"
grep -q 'qt6-wayland' <<<"$(dpkg-deb -f "$deb" Recommends)" || fail "Recommends lacks qt6-wayland"
# Debian's own checks: no error, no warning.
if command -v lintian >/dev/null; then
  lintian --allow-root "$deb" >"$work/lintian" 2>&1 || true
  if grep -E '^(E|W):' "$work/lintian"; then fail "lintian"; fi
else
  echo "lintian is not installed (scripts/install-deps.sh installs it): its checks skipped" >&2
fi
echo "package: $(basename "$deb"), $(wc -l <"$work/files") files: 1 passed, 0 failed"
