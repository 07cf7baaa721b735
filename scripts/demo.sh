#!/usr/bin/env bash
# Shows a migration from beginning to end: some forty mails on disk, items as a driving program
# leaves them, calendars and cards, two mailboxes of our own on this machine, and the engine between
# them. Its folders stay under build/demo; FRESH=1 starts over.
set -euo pipefail
cd "$(dirname "$0")/.."

tarny=build/bin/tarny
demo=build/demo
mailbox=$demo/mailbox
run=$demo/run

if [ ! -x "$tarny" ]; then
  echo "$tarny is not there yet: 'make demo' builds it first." >&2
  exit 1
fi
if [ "${FRESH:-0}" = 1 ]; then rm -rf "$demo"; fi
mkdir -p "$demo"

say() { printf '\n== %s\n' "$*"; }
# Shows a command as it would be typed, and runs it.
show() {
  printf '\n$'
  printf ' %q' "$@"
  printf '\n'
  "$@"
}

say "What would go where: the mail under samples/mail/, by target folder"
show "$tarny" migrate samples/mail --to "local:$mailbox" --dry-run

if [ -e "$run/journal.db" ]; then
  say "This demonstration has run before: all mail is there already (FRESH=1 make demo starts over)"
else
  say "Migration: tarny starts a local mailbox and the engine, and hands it one mail after the other"
fi
show "$tarny" migrate samples/mail --to "local:$mailbox" --run "$run"

say "What arrived in the mailbox"
show "$tarny" mailbox ls --data "$mailbox" --items

say "One mail as the mailbox holds it, byte for byte what was sent"
item=$("$tarny" mailbox ls --data "$mailbox" --items |
  sed -n 's/^ *#\([0-9]*\) .*Welcome on board.*/\1/p' | head -n 1)
show "$tarny" mailbox show --source --data "$mailbox" "$item"

say "The same migration again: nothing is sent twice"
show "$tarny" migrate samples/mail --to "local:$mailbox" --run "$run"

say "Prepared items, as a driving program leaves them: which file a body comes from"
show "$tarny" item "samples/prepared/Notes archive/rich text" | sed -n '/^\$/p; /"body_route"/,/}/p'

say "Their migration into a mailbox that takes 20,000 bytes: one mail arrives reduced (exit code 1)"
small=$demo/small
mkdir -p "$small"
echo any > "$small/password"
rm -f "$small/greeting"
build/bin/mailboxd --data "$small/mailbox" --max-message-size 20000 \
  --port "$(cat "$small/port" 2> /dev/null || echo 0)" > "$small/greeting" &
server=$!
trap 'kill "$server" 2> /dev/null || true' EXIT
for _ in $(seq 100); do
  if [ -s "$small/greeting" ] || ! kill -0 "$server" 2> /dev/null; then break; fi
  sleep 0.1
done
url=$(sed -n 's/^mailboxd: listening on //p' "$small/greeting")
[ -n "$url" ] || exit 1  # mailboxd has said why
echo "${url##*:}" > "$small/port"
show "$tarny" migrate samples/prepared --to "$url/EWS/Exchange.asmx" --run "$small/run" \
  --user demo@example.org --password-file "$small/password" || [ $? = 1 ]
kill "$server"
wait "$server" || true
show "$tarny" mailbox ls --data "$small/mailbox" --items

calendar=(migrate samples/calendar samples/contacts samples/diary --to "local:$mailbox" --run "$demo/calendar")
say "Calendars, cards and a diary in rich text: events, tasks, people and a group, and what of each does not arrive"
show "$tarny" "${calendar[@]}"
say "Again: none of them is sent twice"
show "$tarny" "${calendar[@]}"
show "$tarny" mailbox ls --data "$mailbox"

say "The engine's ledger: what it has saved, by folder"
show "$tarny" ledger "$run/SQLLiteNew.db"

cat <<END

Everything is under $demo:
  $mailbox/mailbox.db        the mailbox
  $run/SQLLiteNew.db         the engine's ledger
  $run/StatusLog.txt         one status line for each item
  $run/TarnyEngine.txt       the engine's trace (UTF-16)
  $run/journal.db            what tarny remembers, so that a run can be stopped and go on
  $small/                    the same of the prepared items
END
