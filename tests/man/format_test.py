#!/usr/bin/env python3
"""kmr(5) against the headers: places and widths of all fields, the segments of user data, the sizes of pictures; and
the recording at its end is one that the programs find sound."""
import os
import re
import subprocess
import tempfile

import help_text

SOURCES = os.environ["SOURCES"]
KMR, _, VIEWER = help_text.programs()
complaints = help_text.Complaints()
WIDTHS = {"uint8_t": 1, "uint16_t": 2, "uint32_t": 4, "int32_t": 4, "char": 1, "kmr_frame_header": 32}


def read(*path):
    with open(os.path.join(SOURCES, *path), encoding="utf-8") as file:
        return file.read()


def structs(header):
    """Name of each struct: its fields as (offset, width). There is no padding, as the headers assert."""
    code = re.sub(r"/\*.*?\*/", " ", read(header), flags=re.DOTALL)
    sizes = {name: int(value, 0) for name, value in re.findall(r"(\w+) = (\w+),", code) if value[0].isdigit()}
    found = {}
    for body, name in re.findall(r"typedef struct \w+ \{([^}]*)\} (\w+);", code):
        place, fields = 0, []
        for kind, length in re.findall(r"(\w+) \w+(?:\[(\w+)\])?;", body):
            width = WIDTHS[kind] * (int(sizes.get(length, length)) if length else 1)
            fields.append((place, width))
            place += width
        found[name] = fields
    return found


def tables(page):
    """Rows of each table that begins with offset and width, where both are numbers."""
    for table in re.findall(r"^\.It Em offset Ta Em width.*\n((?:\.It .*\n)+)", page, re.MULTILINE):
        rows = re.findall(r"^\.It (\d+) Ta (?:[ui](\d+)|char(\d+)|(\d+)) Ta", table, re.MULTILINE)
        yield [(int(place), int(bits or 0) // 8 or int(text or plain)) for place, bits, text, plain in rows]


def check_layouts(page):
    layouts = {"analyse/format/file_header.h": 1, "analyse/format/frame_header.h": 1, "analyse/format/index_block.h": 2,
               "UserDataOpt/user_data_block.h": 2, "vfslist16a/index_file.h": 1}
    shown = list(tables(page))
    count = 0
    for header, wanted in layouts.items():
        found = {name: fields for name, fields in structs(header).items() if "trailer" not in name}
        if len(found) != wanted:
            complaints.say(f"{header}: {len(found)} layouts instead of {wanted}")
        for name, fields in found.items():
            count += 1
            if fields not in shown:
                complaints.say(f"kmr.5: no table has the fields of {name}: {fields}")
    return count


def check_segments(page):
    """0xFED7 stands in the header of the picture size; a target is shown as analytics, and its two values."""
    named = re.findall(r"(USERDATA_FLAG_\w+) = (0x\w+)", read("UserDataOpt/user_data_block.h") +
                       read("analyse/vca/vca.h"))
    wanted = {(value, name.replace("_VCA_TARGET", "_VCA")) for name, value in named}
    found = set(re.findall(r"^\.It (0x\w+) Ta Dv (\w+)", page, re.MULTILINE))
    complaints.same("kmr.5", "segment", {" ".join(each) for each in wanted}, {" ".join(each) for each in found})
    return len(wanted)


def picture_sizes(text):
    """'352x120, 144; 704x240' is 352x120, 352x144 and 704x240."""
    found, width = [], ""
    for size in re.split(r"[;,]\s+", text.strip()):
        before, _, height = size.rpartition("x")
        width = before or width
        found.append(f"{width}x{height}")
    return found


def check_sizes(page):
    told = re.findall(r"^\.It (?:landscape|portrait)\n((?:[\dx,; ]+\n)+)", page, re.MULTILINE)
    found = picture_sizes("; ".join(" ".join(each.split()) for each in told))
    pairs = re.findall(r"\{(\d+), (\d+)\}", read("file_op/common/frame_check.cpp"))
    wanted = [f"{width}x{height}" for width, height in pairs]
    complaints.same("kmr.5", "picture size", wanted, found)
    return len(wanted)


# What the words beside the bytes say, in the viewer's.
TOLD = ("FrameRate : 25 Width : 352 Height : 288 Mode : H.264 bAudio : 0",
        "Year : 2015 Month : 1 Day : 2 Hour : 3 Minute : 4 Second : 5",
        "TotalSize : 284 B FrameCount : 1", " 1 00000058 I 64 32 0 0 5000 ",
        "7f fed1 USERDATA_FLAG_OSD 7f fed9 USERDATA_FLAG_VCA 4 2", " 0 00000098 V 132 100 0 0 0 ",
        "Record Num : 1 VirualFrame Record size : 80 Memory Num : 450", " 0 [03:04:05] 00000058 000000c4 0 288 352 ",
        "KMR FileStartTime :2015/01/02 03:04:05", " Well done :) ")


def check_recording(page):
    display = page.partition(".Sh A WHOLE RECORDING")[2]
    content = b""
    for place, digits in re.findall(r"^([0-9A-F]{3})  ((?: *[0-9A-F]{2})+)$", display, re.MULTILINE):
        if int(place, 16) != len(content):
            complaints.say(f"kmr.5: {place} stands where {len(content):03X} is")
        content += bytes.fromhex(digits)
    with tempfile.TemporaryDirectory() as folder:
        with open(os.path.join(folder, "recording.kmr"), "wb") as file:
            file.write(content)
        os.symlink(os.path.join(os.path.dirname(VIEWER), "lib"), os.path.join(folder, "lib"))

        def said(*words):
            return subprocess.run(words, cwd=folder, capture_output=True, text=True, errors="replace", check=False,
                                  env=dict(os.environ, TZ="UTC"))

        report = " ".join(said(VIEWER, "-f", "recording.kmr", "-a", "-u").stdout.split())
        for wanted in TOLD:
            if wanted not in report:
                complaints.say(f"kmr.5: of the recording the viewer does not say '{wanted.strip()}'")
        if KMR and said(KMR, "check", "recording.kmr").returncode != 0:
            complaints.say("kmr.5: kmr check finds something in the recording")
    return len(content)


PAGE = read("man", "kmr.5")
complaints.end(f"{check_layouts(PAGE)} layouts, {check_segments(PAGE)} segments, {check_sizes(PAGE)} picture sizes, "
               f"a recording of {check_recording(PAGE)} bytes")
