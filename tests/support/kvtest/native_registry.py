"""Settings of the user's registry on Windows that tests change and restore.

What a change overwrites is on disk before the change is made. If the tests are killed, the next ones restore it.
"""

import json
import re

USER = "HKEY_CURRENT_USER\\"


def parse(lines):
    """The changes that lines of a .reg file ask for, as (key, name, type, data); type None deletes the value, name None
    creates the key only. Only what tests write: texts, numbers, bytes and deleted values below HKEY_CURRENT_USER."""
    key, changes = None, []
    for line in filter(None, lines):
        if line.startswith("["):
            key = re.fullmatch(r"\[([^-].*)\]", line)[1].removeprefix(USER)
            changes.append((key, None, None, None))
            continue
        name, value = re.fullmatch(r'"([^"]*)"=(.*)', line).groups()
        changes.append((key, name, *_parse_value(value)))
    return changes


def _parse_value(value):
    if value == "-":
        return None, None
    if value.startswith("dword:"):
        return "REG_DWORD", int(value[6:], 16)
    if value.startswith("hex:"):
        return "REG_BINARY", bytes.fromhex(value[4:].replace(",", " "))
    return "REG_SZ", re.sub(r"\\(.)", r"\1", re.fullmatch(r'"(.*)"', value)[1])


class NativeRegistry:
    """winreg: that module of Python's library, or a substitute. journal: the file with what must be restored."""

    def __init__(self, winreg, journal):
        self._winreg = winreg
        self._journal = journal

    def has_key(self, key):
        try:
            self._winreg.OpenKey(self._winreg.HKEY_CURRENT_USER, key).Close()
            return True
        except FileNotFoundError:
            return False

    def change(self, changes):
        """Makes the changes that parse() has returned."""
        for key, name, kind, data in changes:
            self._remember(key, name)
            if name is None:
                self._winreg.CreateKey(self._winreg.HKEY_CURRENT_USER, key).Close()
            else:
                self._set(key, name, kind and getattr(self._winreg, kind), data)

    def restore(self):
        """Undoes all changes, of an earlier process too, the last one first."""
        for entry in reversed(self._entries()):
            if entry["name"] is None:
                self._delete_key(entry["key"])
            else:
                self._set(entry["key"], entry["name"], entry["type"], _from_json(entry["data"]))
        self._journal.unlink(missing_ok=True)

    def _remember(self, key, name):
        if name is None:
            # Each missing key on the way comes into being with it.
            parts = key.split("\\")
            missing = [parent for parent in ("\\".join(parts[:count]) for count in range(1, len(parts) + 1))
                       if not self.has_key(parent)]
            entries = [{"key": parent, "name": None} for parent in missing]
        else:
            kind, data = self._get(key, name)
            entries = [{"key": key, "name": name, "type": kind, "data": _to_json(data)}]
        if entries:
            self._journal.write_text(json.dumps(self._entries() + entries), encoding="utf-8")

    def _entries(self):
        return json.loads(self._journal.read_text(encoding="utf-8")) if self._journal.is_file() else []

    def _get(self, key, name):
        """Type and data of a value, (None, None) if there is none."""
        try:
            with self._winreg.OpenKey(self._winreg.HKEY_CURRENT_USER, key) as opened:
                data, kind = self._winreg.QueryValueEx(opened, name)
                return kind, data
        except FileNotFoundError:
            return None, None

    def _set(self, key, name, kind, data):
        access = self._winreg.KEY_SET_VALUE
        try:
            with self._winreg.OpenKey(self._winreg.HKEY_CURRENT_USER, key, 0, access) as opened:
                if kind is None:
                    self._winreg.DeleteValue(opened, name)
                else:
                    self._winreg.SetValueEx(opened, name, 0, kind, data)
        except FileNotFoundError:
            if kind is not None:  # what is to be deleted is not there in any case
                raise

    def _delete_key(self, key):
        """With all keys below it, which programs may have made."""
        try:
            with self._winreg.OpenKey(self._winreg.HKEY_CURRENT_USER, key) as opened:
                below = [self._winreg.EnumKey(opened, index) for index in range(self._winreg.QueryInfoKey(opened)[0])]
        except FileNotFoundError:
            return
        for name in below:
            self._delete_key(f"{key}\\{name}")
        self._winreg.DeleteKey(self._winreg.HKEY_CURRENT_USER, key)


def _to_json(data):
    return {"bytes": data.hex()} if isinstance(data, bytes) else data


def _from_json(data):
    return bytes.fromhex(data["bytes"]) if isinstance(data, dict) else data
