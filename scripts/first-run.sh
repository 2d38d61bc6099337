#!/usr/bin/env bash
# Lays out a program folder with the sample pages, sample personal data and settings. What is there already stays.
# Usage: scripts/first-run.sh DIR [windows]
# With "windows" the folder is one to be carried to a Windows PC, wherever it comes to lie there.
set -euo pipefail

[[ ($# -eq 1 || ($# -eq 2 && $2 == windows)) && -n $1 ]] || { echo "usage: ${0##*/} DIR [windows]" >&2; exit 2; }
system=${2:-linux}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
umask 077
mkdir -p "$1"
home=$(cd "$1" && pwd)
case $home in
  *[[:cntrl:]]*) echo "${0##*/}: the folder's name holds a line break or another control character" >&2; exit 1 ;;
esac

# The settings are written last: they tell that everything else is in place.
settings=$home/tarvel_wap.ini
[[ ! -e $settings ]] || exit 0

# copy SOURCE NAME: as one step, so that an interrupted run leaves nothing half copied.
copy() {
  [[ ! -e $home/$2 ]] || return 0
  rm -rf "$home/$2.part"
  cp -R "$1" "$home/$2.part"
  mv "$home/$2.part" "$home/$2"
}

# deliver MAIL MAILDIR_FILE HOURS: the mail as if it had come HOURS ago.
deliver() {
  local when="$3 hours ago"
  sed "s/^Date: .*/Date: $(LC_ALL=C date -R -d "$when")/" "$1" >"$2"
  touch -d "$when" "$2"
}

make_inbox() {
  local inbox=$home/outlook/inbox part=$home/outlook/inbox.part mail hours=0
  [[ ! -e $inbox ]] || return 0
  # A file name of Windows holds no colon.
  local flags=":"
  [[ $system != windows ]] || flags=";"
  rm -rf "$part"
  mkdir -p "$part/cur" "$part/new" "$part/tmp"
  for mail in "$root"/sample/inbox/new/*.eml; do
    hours=$((hours + 2))
    deliver "$mail" "$part/new/$(basename "$mail" .eml).sample" "$hours"
  done
  for mail in "$root"/sample/inbox/read/*.eml; do
    hours=$((hours + 20))
    deliver "$mail" "$part/cur/$(basename "$mail" .eml).sample${flags}2,S" "$hours"
  done
  mv "$part" "$inbox"
}

copy "$root/pages" pages
mkdir -p "$home/outlook"
for folder in calendar contacts tasks notes; do
  copy "$root/sample/$folder" "outlook/$folder"
done
make_inbox

case $system in
  windows)
    lines=("WAP_Directory=pages\\"
      "CMD_Title_0=Open the notepad" "CMD_Command_0=notepad.exe"
      "CMD_Title_1=Open a file with the notepad" "CMD_Command_1=notepad.exe" "CMD_PIN_1=1234")
    ;;
  *)
    copy "$root/sample/commands" commands
    lines=("WAP_Directory=$home/pages/" "image=$home/pages/kova.png"
      "CMD_Title_0=Write the time" "CMD_Command_0=commands/write-time.sh"
      "CMD_Title_1=Write a word" "CMD_Command_1=commands/write-word.sh" "CMD_PIN_1=1234")
    ;;
esac
printf '%s\r\n' "[Main]" "Local_Port=8081" "Auto_Start=0" "Auto_Start_Paging=0" "${lines[@]}" >"$settings.part"
mv "$settings.part" "$settings"
