// What the page shows, from blocks of JSON in the page. Nothing else knows where data comes from: a page that is fed from
// elsewhere has another read_page.

function read_block(name) {
    const block = document.getElementById(name);
    return block ? JSON.parse(block.textContent) : null;
}

// The lines of `kmr check --json` and `kmr show --json`, the frames as { columns, rows }, and the video, if there is any.
function read_page() {
    const video = read_block('video-facts');
    return {
        check: read_block('check'),
        show: read_block('show'),
        frames: read_block('frames'),
        video: video && {...video, pieces: () => read_pieces('video-bytes-', video.blocks)},
    };
}

// What is in the pieces need not stand in the page as well.
function read_pieces(name, count) {
    return Array.from({length: count}, (_, number) => {
        const block = document.getElementById(name + number);
        const bytes = bytes_of(block.textContent);
        block.remove();
        return bytes;
    });
}

function bytes_of(base64) {
    const text = atob(base64.trim());
    const bytes = new Uint8Array(text.length);
    for (let i = 0; i < text.length; ++i)
        bytes[i] = text.charCodeAt(i);
    return bytes;
}

const frame_classes = ['ordinary', 'inserted', 'damaged'];

// Frames by column: a hundred thousand objects would take longer than all the rest.
function frames_of(source) {
    const rows = source.rows;
    const place = Object.fromEntries(source.columns.map((name, index) => [name, index]));
    const numbers = name => Float64Array.from(rows, row => row[place[name]]);
    const frames = {
        count: rows.length,
        number: numbers('number'),
        offset: numbers('offset'),
        size: numbers('size'),
        video_size: numbers('video_size'),
        audio_frames: numbers('audio_frames'),
        audio_size: numbers('audio_size'),
        stamp: numbers('stamp'),
        delay_ms: numbers('delay_ms'),
        gap: numbers('gap'),
        stream_ms: numbers('stream_ms'),
        is_i: Uint8Array.from(rows, row => row[place.type] === 'I' ? 1 : 0),
        kind: Uint8Array.from(rows, row => frame_classes.indexOf(row[place.class])),
        user_data: new Map(),
    };
    rows.forEach((row, index) => {
        const segments = row[place.user_data];
        if (segments && segments.length > 0)
            frames.user_data.set(index, segments);
    });
    frames.by_time = order_in_time(frames.stream_ms);
    [frames.first_ms, frames.last_ms] = span_of(frames);
    return frames;
}

// Of ordinary frames, where there are any: the time of a damaged one may be anything.
function span_of(frames) {
    const sure = frames.by_time.filter(index => frames.kind[index] === 0);
    const all = sure.length > 0 ? sure : frames.by_time;
    return all.length > 0 ? [frames.stream_ms[all[0]], frames.stream_ms[all[all.length - 1]]] : [0, 0];
}

// Where the clock runs back, frames do not stand in the order of their times.
function order_in_time(times) {
    const order = Uint32Array.from(times, (_, index) => index);
    if (times.some((time, index) => index > 0 && time < times[index - 1]))
        order.sort((left, right) => times[left] - times[right] || left - right);
    return order;
}

// How many come before the first of `count` for which `is_behind` holds.
function bisect(count, is_behind) {
    let low = 0;
    let high = count;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (is_behind(middle))
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}

// The place in by_time of the first frame at `ms` or later.
function place_of_time(frames, ms) {
    return bisect(frames.count, place => frames.stream_ms[frames.by_time[place]] >= ms);
}

// The last frame at or before a time, the first one where all are later; -1: there is none at all.
function frame_at_time(frames, ms) {
    if (frames.count === 0)
        return -1;
    return frames.by_time[Math.max(0, place_of_time(frames, ms + 0.5) - 1)];
}

// The first frame whose header stands at `offset` or behind it.
function frame_at_offset(frames, offset) {
    return bisect(frames.count, index => frames.offset[index] >= offset);
}
