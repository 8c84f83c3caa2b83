// compare.js KMR RECORDING...: reads recordings with the parser that docs/kmr.ksy gives, and holds every
// field against what `kmr check`, `kmr frames` and `kmr tag` say in JSON. Where frames are damaged, those
// behind the damage are read at the places that `kmr frames` tells. Delays, gaps and times of frames are
// worked out from the fields, and stand in no recording.
"use strict";
const assert = require("assert");
const {spawnSync} = require("child_process");
const fs = require("fs");
const os = require("os");
const path = require("path");
const {load, KaitaiStream} = require("./description.js");

const walked_at_once = 100000; // frames that are read as one tree
const compared = {
    recordings: 0,
    headers: 0,
    frames: 0,
    segments: 0,
    indexes: 0,
    records: 0,
    tags: 0
};

// The lines of JSON that a command writes. Status 1 means that something was found.
function* json_lines(scratch, program, ...words) {
    const output = path.join(scratch, "output");
    const to = fs.openSync(output, "w");
    const done = spawnSync(program, words, {stdio: ["ignore", to, "pipe"]});
    fs.closeSync(to);
    if (done.status !== 0 && done.status !== 1)
        return;
    const from = fs.openSync(output, "r");
    const chunk = Buffer.alloc(1 << 20);
    let rest = Buffer.alloc(0);
    for (let size; (size = fs.readSync(from, chunk)) > 0;) {
        const text = Buffer.concat([rest, chunk.subarray(0, size)]);
        const end = text.lastIndexOf(10) + 1;
        for (const line of text.subarray(0, end).toString().split("\n"))
            if (line)
                yield JSON.parse(line);
        rest = Buffer.from(text.subarray(end));
    }
    fs.closeSync(from);
    assert.equal(rest.length, 0, "the last line has an end");
}

// Text as kmr writes it in JSON: bytes that are no UTF-8 as \xhh.
function text_of(bytes) {
    let text = "";
    for (let at = 0; at < bytes.length;) {
        const lead = bytes[at];
        const width = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
        try {
            text += new TextDecoder("utf-8", {fatal: true, ignoreBOM: true})
                        .decode(bytes.subarray(at, at + width));
            at += width;
        } catch {
            text += "\\x" + lead.toString(16).padStart(2, "0");
            at += 1;
        }
    }
    return text;
}

const two = (number) => String(number).padStart(2, "0");

function start_of({year, month, day, hour, minute, second}) {
    const date = new Date(Date.UTC(year, month - 1, day));
    const is_date = year >= 1 && date.getUTCMonth() === month - 1 && date.getUTCDate() === day;
    if (!is_date || hour > 23 || minute > 59 || second > 59)
        return null;
    return `${String(year).padStart(4, "0")}-${two(month)}-${two(day)}T${two(hour)}:${two(minute)}:${
        two(second)}`;
}

function header_of(header) {
    return {
        start: start_of(header.start),
        frame_rate: header.frameRate,
        width: header.width,
        height: header.height,
        mode: header.mode,
        audio: header.audio !== 0,
        audio_channels: header.audioChannels,
        audio_bits: header.audioBits,
        audio_rate: header.audioRate,
        cover_mask: header.coverMask,
        cover_word: text_of(header.coverWord),
        frame_no_diff: header.frameNoDiff,
        trigger_high: header.triggerHigh,
        trigger_low: header.triggerLow,
        total_size: header.totalSize,
        frame_count: header.frameCount,
    };
}

// The texts of the recordings that this is tried with are ASCII.
function value_of(kmr, {flag, payload, lenPayload, _raw_payload}) {
    if (flag === kmr.SegmentFlag.VCA_SIZE && lenPayload >= 8)
        return `${payload.width}x${payload.height}`;
    if (flag === kmr.SegmentFlag.VCA_TARGET && lenPayload >= 4)
        return `${(payload.first - 1) & 0xffff},${(payload.second - 1) & 0xffff}`;
    const bytes = Buffer.from(_raw_payload ?? payload);
    const end = bytes.indexOf(0);
    const text = end < 0 ? bytes : bytes.subarray(0, end);
    const only_zeros_behind = bytes.subarray(text.length).every((byte) => byte === 0);
    return only_zeros_behind && text.every((byte) => byte >= 0x20 && byte < 0x7f) ? text.toString("latin1")
                                                                                  : bytes.toString("hex");
}

// None where one of them is broken: kmr shows none then.
function segments_of(kmr, video) {
    const data = video.userData;
    if (!data || !data.block || !data.block.isSound)
        return [];
    const segments = data.block.segments ?? [];
    if (segments.some((segment) => !segment.isInside))
        return [];
    return segments.map((segment) => ({
                            kind: segment.isKnown ? kmr.SegmentFlag[segment.flag].toLowerCase() : "unknown",
                            value: value_of(kmr, segment),
                        }));
}

function class_of(kmr, record, row) {
    const {INSERTED, ORDINARY, INDEX_HEAD} = kmr.FrameClass;
    const found = record.header.frameClass;
    if (found === INDEX_HEAD && row.stamp === 0)
        return "ordinary"; // kmr goes by the trailer, which is elsewhere
    if (record.header.lenFrame > record.available)
        return "damaged";
    return found === INSERTED ? "inserted" : found === ORDINARY ? "ordinary" : "damaged";
}

// What deepEqual would say, for millions of frames that are alike and without user data.
function is_alike(found, row) {
    for (const name in found)
        if (found[name] !== row[name] && name !== "user_data")
            return false;
    return found.user_data.length === 0 && row.user_data.length === 0;
}

function compare_frame(kmr, io, row) {
    io.seek(row.offset);
    const record = new kmr.Record(io, null, null);
    const {header} = record;
    const found = {
        number: header.number,
        offset: record.offset,
        type: header.isIFrame ? "I" : "P",
        size: header.lenFrame,
        video_size: header.lenVideo,
        audio_frames: header.numAudioFrames,
        audio_size: header.lenAudioFrame,
        stamp: header.stamp,
        class: class_of(kmr, record, row),
        user_data: record.isFrame ? segments_of(kmr, record.video) : [],
    };
    if (!is_alike(found, row)) {
        const {delay_ms, gap, stream_ms, time, ...expected} = row;
        assert.deepEqual(found, expected);
    }
    if (record.isFrame && row.audio_frames > 0)
        assert.deepEqual(new Set(record.audio.map((audio) => audio.length)), new Set([row.audio_size]));
    compared.frames += 1;
    compared.segments += found.user_data.length;
}

// Where bytes stand behind an index, kmr goes by the one that the frames lead to, and this parser by the
// last one. An index that kmr takes as it is has a record for each I-frame that kmr finds, and others for
// frames that are destroyed alone. Records give whole seconds, so a start that agrees best with all of them
// may be up to one off from each.
function compare_index(parsed, check, tags, i_frames) {
    const found_by = (...codes) =>
        check.findings.some(({code}) => codes.some((each) => code.startsWith(each)));
    if (found_by("bytes-behind-index"))
        return;
    const is_sound = parsed.hasTrailer && parsed.index.isSound;
    const is_expected = check.index.present && !found_by("index-torn", "index-head-wrong");
    assert.equal(is_sound, is_expected, "whether there is an index");
    if (is_sound && !found_by("index-", "tag-count-wrong")) {
        const {header, numRecords, records} = parsed.index;
        assert.equal(numRecords, check.index.records);
        assert.equal(header.number, check.index.tags);
        const places = new Set(i_frames.map(({offset}) => offset));
        const named = records.filter(({offset}) => places.has(offset) || !found_by("bytes-torn", "frame-"));
        assert.deepEqual(named.map(({offset}) => offset), i_frames.map(({offset}) => offset));
        if (!found_by("clock-"))
            named.forEach(({time}, i) => assert.ok(
                              Math.abs(Date.parse(i_frames[i].time) - time * 1000) < 1000, "its time"));
        compared.indexes += 1;
        compared.records += records.length;
    }
    if (!tags)
        return;
    const found = [];
    parsed.index.records.forEach(({tag, time}, record) => {
        const iso_time = new Date(time * 1000).toISOString().replace("Z", "+00:00");
        if (tag.length)
            found.push({record, time: iso_time, text: text_of(tag)});
    });
    assert.deepEqual(found, tags.tags);
    assert.equal(parsed.index.numRecords, tags.records);
    compared.tags += found.length;
}

// The chain as the parser follows it is the beginning of what kmr finds, and all of it where nothing is
// damaged.
function compare_walk(parsed, offsets, check) {
    const walked = (parsed.records ?? []).filter((record) => record.isFrame).map((record) => record.offset);
    assert.deepEqual(walked, offsets.slice(0, walked.length));
    if (check.verdict === "sound" || check.verdict === "unfinished")
        assert.equal(walked.length, offsets.length);
}

function compare(kmr, program, scratch, recording) {
    const [check] = json_lines(scratch, program, "check", "--json", "--utc", recording);
    const [tags] = json_lines(scratch, program, "tag", "--json", "--utc", recording);
    const io = new KaitaiStream(fs.readFileSync(recording));
    compared.recordings += 1;
    if (check.header === null) {
        assert.throws(() => new kmr.FileHeader(io, null, null), KaitaiStream.EOFError);
        return;
    }
    const header = new kmr.FileHeader(io, null, null);
    const {plausible, ...expected} = check.header;
    assert.deepEqual(header_of(header), expected);
    compared.headers += 1;

    const offsets = [];
    const i_frames = [];
    for (const row of json_lines(scratch, program, "frames", "--format", "json", "--user-data", "--utc",
                                 recording)) {
        compare_frame(kmr, io, row);
        offsets.push(row.offset);
        if (row.type === "I" && row.class === "ordinary")
            i_frames.push(row);
    }
    assert.equal(offsets.length, check.frames.total + check.frames.damaged);
    if (offsets.length > walked_at_once)
        return;
    io.seek(0);
    const parsed = new kmr(io);
    compare_walk(parsed, offsets, check);
    compare_index(parsed, check, tags, i_frames);
}

async function main([program, ...recordings]) {
    const kmr = await load();
    const scratch = fs.mkdtempSync(path.join(os.tmpdir(), "kmr-"));
    let failed = 0;
    for (const recording of recordings) {
        try {
            compare(kmr, program, scratch, recording);
        } catch (error) {
            failed += 1;
            console.error(`${recording}: ${error.stack}`);
        }
    }
    fs.rmSync(scratch, {recursive: true});
    for (const [what, count] of Object.entries(compared))
        assert.ok(count > 0, `no ${what} were compared`);
    console.log(
        `read alike: ${Object.entries(compared).map(([what, count]) => `${count} ${what}`).join(", ")}`);
    process.exitCode = failed ? 1 : 0;
}

main(process.argv.slice(2));
