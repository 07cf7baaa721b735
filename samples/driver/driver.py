#!/usr/bin/env python3
"""Puts prepared items into a folder of a mailbox: a driving program, written from docs/protocol.md.

An item is a folder with a descriptor (11comtextjj.t) and the files that belong to it.
"""
import argparse
import hashlib
import os
import shutil
import socket
import struct
import subprocess
import sys
import time
from pathlib import Path

LOGIN, CREATE_FOLDER, INSERT_ITEM, IMAGE, CLOSE_LEDGER = 0x464, 0x465, 0x466, 0x467, 0x46E
COPY_DATA, CLOSE, NOTIFY_RESULT, NOTIFY, RESULT = 1, 2, 3, 4, 5
DESCRIPTOR = "11comtextjj.t"


class Engine:
    """An engine that was started in a run folder, and the connection to it."""

    def __init__(self, program, run, options):
        shutil.copy(program, run / "engine")  # it works beside its executable
        title = f"<GUID>{run}"
        digest = hashlib.sha256(title.encode()).hexdigest()
        # In a session of its own: Ctrl-C is for this program, which lets the engine end its command.
        self.process = subprocess.Popen([run / "engine", *options, title], start_new_session=True)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        while True:
            try:
                self.socket.connect(f"\0tarny-{os.geteuid()}-{digest}")
                break
            except ConnectionRefusedError:  # it does not listen yet
                if self.process.poll() is not None:
                    sys.exit(f"the engine ended with exit code {self.process.returncode}")
                time.sleep(0.01)
        peer = self.socket.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, 12)
        if struct.unpack("3i", peer)[1] != os.geteuid():  # process, user, group
            sys.exit("another user listens under the engine's name")

    def send(self, kind, payload=b""):
        self.socket.sendall(struct.pack("<II", len(payload), kind) + payload)

    def receive(self, size):
        data = self.socket.recv(size, socket.MSG_WAITALL)
        if len(data) < size:
            raise ConnectionError("the engine hung up")
        return data

    def command(self, number, record=b""):
        """Runs a command to its result; what is asked on the way is answered with 0."""
        self.send(COPY_DATA, struct.pack("<IQ", number, os.getpid()) + record)
        while True:
            size, kind = struct.unpack("<II", self.receive(8))
            payload = self.receive(size)
            if kind == RESULT:
                return struct.unpack("<i", payload)[0]
            self.send(NOTIFY_RESULT, struct.pack("<q", 0))  # it was NOTIFY

    def close(self):
        self.command(CLOSE_LEDGER)
        self.send(CLOSE)
        self.socket.recv(1)  # until it hangs up
        return self.process.wait()


def slot(text, size):
    """A string of a record, in its slot of that many bytes."""
    units = text.encode("utf-16-le") + b"\0\0"
    if len(units) > size:
        raise ValueError(f"too long for its slot: {text[:60]}")
    return units.ljust(size, b"\0")


def logon_record(user, password):
    known_are_passed_over, password_route = 1, 0
    return struct.pack("<520x 520s 1000s 2000x 520x 520s 1560x 4B", slot(user, 520),
                       slot(password, 1000), slot("Mailbox", 520),
                       0, known_are_passed_over, 0, password_route)


def folder_record(path):
    levels = "".join(level + "\\" for level in path.split("/"))
    return slot(levels, 10000) + struct.pack("<i", 0)


def item_record(work_folder, status_log):
    return slot(f"{work_folder}\\", 1304) + slot(status_log, 604) + struct.pack("<i", 0)


def insert(engine, item, work_folder):
    """Puts the item's files into the emptied work folder, its descriptor last, and sends it."""
    shutil.rmtree(work_folder, ignore_errors=True)
    shutil.copytree(item, work_folder, ignore=shutil.ignore_patterns(DESCRIPTOR))
    shutil.copy(item / DESCRIPTOR, work_folder)
    if (item / "ImageAttchment.txt").exists():
        engine.command(IMAGE)
    return engine.command(INSERT_ITEM, item_record(work_folder, "StatusLog.txt"))


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("engine", help="the engine's program")
    parser.add_argument("run", type=Path, help="a folder for this run; made if it is not there")
    parser.add_argument("ews_url", help="such as https://mail.example.com/EWS/Exchange.asmx")
    parser.add_argument("user")
    parser.add_argument("password_file", type=Path, help="its first line is the password")
    parser.add_argument("folder", help="where the items go, such as Inbox/2024")
    parser.add_argument("item", type=Path, nargs="+", help="a folder with a descriptor")
    args = parser.parse_args()
    password = args.password_file.read_text(encoding="utf-8").partition("\n")[0]
    run = args.run.resolve()
    run.mkdir(mode=0o700, parents=True, exist_ok=True)

    engine = Engine(args.engine, run, ["--safe", "--ews-url", args.ews_url])
    failed = 0
    try:
        if engine.command(LOGIN, logon_record(args.user, password)) != 1:
            sys.exit("the logon failed")
        engine.command(CREATE_FOLDER, folder_record(args.folder))
        for item in args.item:
            saved = insert(engine, item, run / "Temp") == 1
            print(f"{item}: {'saved, or known already' if saved else 'failed'}", flush=True)
            failed += not saved
        engine.close()
    finally:
        engine.process.terminate()  # if it is still there; it ends after its command
    if failed:
        sys.exit(f"{failed} failed; {run / 'StatusLog.txt'} says why")


if __name__ == "__main__":
    main()
