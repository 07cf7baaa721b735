"""Reads exported calendars and cards with readers that share no code with us, and prints what they
see, a line for each event, task, person and group: `read_export.py FOLDER`."""
import base64
import pathlib
import sys
from datetime import timezone

import icalendar
import vobject


def moment(value):
    if not hasattr(value, "hour"):
        return value.isoformat()
    return value.astimezone(timezone.utc).strftime("%Y-%m-%d %H:%M")


def days_of(entry):
    start = entry.dtstart.value
    if not hasattr(entry, "rrule"):
        return moment(start)
    whole = not hasattr(start, "hour")  # its days come as midnights
    return ", ".join(moment(day.date() if whole else day)
                     for day in entry.getrruleset(addRDate=True))


def event(entry, parts):
    days = days_of(entry)
    text = f"{entry.summary.value}: {days}"
    if hasattr(entry, "recurrence_id"):
        text += f" instead of {moment(entry.recurrence_id.value)}"
    for part in parts:
        people = part.get("ATTENDEE", [])
        for person in people if isinstance(people, list) else [people]:
            text += f"; {person[len('mailto:'):]} {person.params['PARTSTAT']}"
        for alarm in part.walk("VALARM"):
            text += f"; {-alarm['TRIGGER'].dt.total_seconds() / 60:.0f} minutes before"
    return text


def calendar(text):
    parts = icalendar.Calendar.from_ical(text).walk("VEVENT")
    read = vobject.readOne(text)
    for number, entry in enumerate(getattr(read, "vevent_list", [])):
        yield event(entry, parts[number:number + 1])
    for entry in getattr(read, "vtodo_list", []):
        yield (f"{entry.summary.value}: due {moment(entry.due.value)}, "
               f"{entry.percent_complete.value} %, {entry.status.value}")


def card(text):
    read = vobject.readOne(text)
    parts = [read.fn.value]
    for name in ("email", "tel", "bday", "note", "x_addressbookserver_member"):
        parts += [line.value.replace("\n", " / ") for line in read.contents.get(
            name.replace("_", "-"), [])]
    for line in read.contents.get("photo", []):
        photo = line.value if isinstance(line.value, bytes) else base64.b64decode(line.value)
        parts.append(f"a photo of {len(photo)} bytes")
    yield "; ".join(parts)


for path in sorted(pathlib.Path(sys.argv[1]).rglob("*.[iv]c[sf]")):
    text = path.read_bytes().decode()
    for line in (calendar if path.suffix == ".ics" else card)(text):
        print(line)
