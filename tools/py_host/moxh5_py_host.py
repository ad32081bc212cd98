#!/usr/bin/env python3
"""A host written in Python with nothing but the standard library (ctypes):
plays a transcript through the library's C interface, as moxh5-play plays it
through the C++ one, and prints the events "result", "exist", "pending" and
"page" one per line.

    moxh5_py_host.py LIBRARY TRANSCRIPT

LIBRARY is the path of libmoxh5.so (or moxh5.dll). It understands the
transcript lines "host" (members "switches", "results", "mallId", "csId",
"currentUid", "currentMallCsId", "clientLinkPrefix", "pluginVersion"),
"call", "exist" and "complete", with the player's defaults.
"""
import ctypes
import json
import os
import sys

OK = 0
REGISTERED = 1
HANDLED = 2
ABI_VERSION = 1

# Callbacks use the C calling convention (ctypes.CFUNCTYPE is cdecl).
OPERATION = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p,
                             ctypes.c_void_p, ctypes.c_void_p)
PAGE_ANSWER = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int, ctypes.c_char_p,
                               ctypes.c_int, ctypes.c_char_p, ctypes.c_char_p)
USER_VALUE = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p,
                              ctypes.c_void_p)
SWITCH = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p,
                          ctypes.c_char_p)
LOG = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_int, ctypes.c_char_p, ctypes.c_int,
                       ctypes.c_char_p, ctypes.c_char_p)
REPORT = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)


class HostTable(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("user", ctypes.c_void_p),
                ("operation", OPERATION), ("page_answer", PAGE_ANSWER),
                ("user_value", USER_VALUE), ("config_switch", SWITCH), ("log", LOG),
                ("log_priority", ctypes.c_int), ("report", REPORT)]


# What each operation's host replies, from the catalogue of host operations.
CATALOGUE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "api",
                         "host_operations.json")
with open(CATALOGUE, encoding="utf-8") as catalogue:
    SHAPES = {operation["name"]: operation["shape"] for operation in json.load(catalogue)}

USER_SETTINGS = {"GetMallId": "mallId", "GetCsId": "csId", "GetCurrentUid": "currentUid",
                 "GetCurrentMallCsId": "currentMallCsId"}
REQUEST_DEFAULTS = {"mallcsid": "mall-1|cs-1", "isWorker": False, "webindex": 0,
                    "callbackid": "", "workerid": None}


def emit(event):
    print(json.dumps(event, sort_keys=True, separators=(",", ":"), ensure_ascii=False))
    sys.stdout.flush()


class Host:
    def __init__(self, library_path):
        lib = ctypes.CDLL(library_path)
        lib.moxh5_abi_version.restype = ctypes.c_uint
        lib.moxh5_create.argtypes = [ctypes.POINTER(HostTable), ctypes.POINTER(ctypes.c_void_p)]
        lib.moxh5_destroy.argtypes = [ctypes.c_void_p]
        lib.moxh5_execute.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_char_p,
                                      ctypes.POINTER(ctypes.c_uint),
                                      ctypes.POINTER(ctypes.c_void_p)]
        lib.moxh5_exist.argtypes = [ctypes.c_void_p, ctypes.c_char_p,
                                    ctypes.POINTER(ctypes.c_int)]
        lib.moxh5_answer_page.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int,
                                          ctypes.c_char_p]
        lib.moxh5_reply.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
        lib.moxh5_complete.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
        lib.moxh5_free.argtypes = [ctypes.c_void_p]
        if lib.moxh5_abi_version() != ABI_VERSION:
            raise SystemExit("the library has another C interface")
        self.lib = lib
        self.settings = {"switches": {}, "results": {}}
        self.pending = []
        # The callback objects must live as long as the library may call them.
        self.table = HostTable(size=ctypes.sizeof(HostTable), operation=OPERATION(self.operation),
                               page_answer=PAGE_ANSWER(self.page_answer),
                               user_value=USER_VALUE(self.user_value),
                               config_switch=SWITCH(self.switch))
        self.handle = ctypes.c_void_p()
        if lib.moxh5_create(ctypes.byref(self.table), ctypes.byref(self.handle)) != OK:
            raise SystemExit("moxh5_create failed")

    def reply(self, slot, value):
        self.lib.moxh5_reply(slot, json.dumps(value).encode())

    def operation(self, user, name, args_json, token, slot):
        name = name.decode()
        shape = SHAPES[name]
        if shape == "Text":
            return self.reply(slot, self.settings.get("clientLinkPrefix", ""))
        if shape == "Version":
            return self.reply(slot, self.settings.get("pluginVersion"))
        if shape == "Nothing":
            return None
        accepted = shape == "Window" or self.settings["results"].get(name, True)
        self.reply(slot, accepted)
        if token and accepted:
            self.pending.append(token)
            emit({"event": "pending", "number": len(self.pending), "op": name})

    def page_answer(self, user, is_worker, mallcsid, webindex, callback_id, data_json):
        emit({"event": "page", "page": "worker" if is_worker else "render",
              "mallcsid": mallcsid.decode(), "webindex": webindex,
              "callbackid" if is_worker else "callId": callback_id.decode(),
              "envelope": json.loads(data_json)})

    def user_value(self, user, name, mallcsid, slot):
        value = self.settings.get(USER_SETTINGS[name.decode()], "")
        if isinstance(value, dict):
            value = value.get(mallcsid.decode(), "")
        self.reply(slot, value)

    def switch(self, user, key, mallcsid, default_json):
        return 1 if self.settings["switches"].get(key.decode(), False) else 0

    def call(self, line, number):
        request = {name: line.get(name, default) for name, default in REQUEST_DEFAULTS.items()}
        request["payload"] = line.get("payload", {})
        request_text = json.dumps(request).encode()
        outcome = ctypes.c_uint()
        answer = ctypes.c_void_p()
        if self.lib.moxh5_execute(self.handle, line["module"].encode(), request_text,
                                  ctypes.byref(outcome), ctypes.byref(answer)) != OK:
            return False
        answer_text = ctypes.string_at(answer)
        self.lib.moxh5_free(answer)
        emit({"event": "result", "line": number, "module": line["module"],
              "registered": bool(outcome.value & REGISTERED),
              "handled": bool(outcome.value & HANDLED), "answer": json.loads(answer_text)})
        if outcome.value & REGISTERED:
            handled = 1 if outcome.value & HANDLED else 0
            return self.lib.moxh5_answer_page(self.handle, request_text, handled,
                                              answer_text) == OK
        return True

    def exist(self, line, number):
        payload = line.get("payload")
        if "name" in line:
            payload = {"method": "canIUse", "params": {"name": line["name"]}}
        request = dict(REQUEST_DEFAULTS, payload=payload)
        exists = ctypes.c_int()
        if self.lib.moxh5_exist(self.handle, json.dumps(request).encode(),
                                ctypes.byref(exists)) != OK:
            return False
        emit({"event": "exist", "line": number, "answer": bool(exists.value)})
        return True

    def complete(self, line):
        number = line["pending"]
        if not 1 <= number <= len(self.pending) or self.pending[number - 1] is None:
            return False
        result = {"success": line.get("success", True), "answer": line.get("answer", {})}
        token, self.pending[number - 1] = self.pending[number - 1], None
        return self.lib.moxh5_complete(token, json.dumps(result).encode()) == OK

    def play(self, line, number):
        kind = line.get("do")
        if kind == "host":
            for name, value in line.items():
                if name in ("switches", "results"):
                    self.settings[name].update(value)
                elif name != "do":
                    self.settings[name] = value
            return True
        if kind == "call":
            return self.call(line, number)
        if kind == "exist":
            return self.exist(line, number)
        if kind == "complete":
            return self.complete(line)
        return False

    def close(self):
        self.lib.moxh5_destroy(self.handle)


def main(argv):
    if len(argv) != 3:
        sys.stderr.write("usage: moxh5_py_host.py LIBRARY TRANSCRIPT\n")
        return 2
    host = Host(argv[1])
    failures = 0
    with open(argv[2], encoding="utf-8") as transcript:
        for number, text in enumerate(transcript, start=1):
            text = text.strip()
            if not text or text.startswith("#"):
                continue
            if not host.play(json.loads(text), number):
                sys.stderr.write("moxh5_py_host: line %d was not played\n" % number)
                failures += 1
    host.close()
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
