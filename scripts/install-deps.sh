#!/usr/bin/env bash
# Installs the Debian packages Arcavera needs to build, run and test, when
# they are missing. Runs apt-get through sudo when not root.
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config qt6-base-dev qt6-qpa-plugins libstorm-dev libtomcrypt-dev smpq xvfb xauth
          fonts-dejavu-core xdg-utils shared-mime-info libfile-mimeinfo-perl
          desktop-file-utils appstream groff-base  # the installed desktop files checked
          libglib2.0-bin            # gio, which reads a file's type as GNOME does
          dpkg-dev lintian          # the Debian package: its dependencies (dpkg-shlibdeps), its check
          qt6-translations-l10n     # Qt's own texts (Yes, No, the file dialogs) in the program's language
          libjpeg-dev               # the JPEG of BLP1 textures, alpha and all
          qt6-multimedia-dev gstreamer1.0-plugins-good  # sounds played in the preview (WAV, MP3, Ogg)
          python3-pil               # the reference decoder scripts/compare_images.py checks ours against
          clang libclang-rt-14-dev  # the fuzzing of scripts/fuzz.sh
          lld)                      # a faster linker, used when present
[ "${ARCAVERA_SCREENSHOTS:-0}" = 1 ] && packages+=(imagemagick)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
