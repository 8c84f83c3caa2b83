// Bits a second, by intervals of stream time.

// 1, 2 or 5 times a power of ten, not below `least`.
function round_step(least) {
    const power = 10 ** Math.floor(Math.log10(Math.max(least, 1)));
    return power * [1, 2, 5, 10].find(each => each * power >= least - 1e-9);
}

// How far frames are apart, as most of them are: pauses and gaps do not count.
function usual_step(frames) {
    const every = Math.ceil(frames.count / 1000);
    const steps = frames.delay_ms.filter((step, index) => index % every === 0 && step > 0).sort();
    return steps.length > 0 ? steps[Math.floor(steps.length / 2)] : 40;
}

// Whole frames wide: a bar narrower than that would say that nothing was recorded between two frames, and bars of one
// frame and of two beside each other would look like peaks.
function bar_width(step, span_ms, bars) { return step * Math.max(1, Math.ceil(span_ms / bars / step)); }

// Of `count` intervals from `first` on: { i, p } in bits a second, { frames, i_frames, missing } as they are.
function intervals(frames, first, width, count) {
    const found = Array.from({length: count}, () => ({i: 0, p: 0, frames: 0, i_frames: 0, missing: 0}));
    for (let place = place_of_time(frames, first); place < frames.count; ++place) {
        const index = frames.by_time[place];
        const interval = found[Math.floor((frames.stream_ms[index] - first) / width)];
        if (!interval)
            break;
        // What a damaged frame says of its size is not to be trusted, and inserted ones are no picture.
        const bits = frames.kind[index] === 0 ? frames.video_size[index] * 8 * 1000 / width : 0;
        ++interval.frames;
        interval.missing += frames.gap[index];
        if (frames.is_i[index]) {
            ++interval.i_frames;
            interval.i += bits;
        } else {
            interval.p += bits;
        }
    }
    return found;
}

// What the picture is drawn from: [time, I, P], each from its time to the next one's. Bars begin a little in front of
// frames, so that one that comes early by a trifle is in its own.
function bars(frames, from, to, width, step) {
    const origin = frames.first_ms - step / 4;
    const first = origin + Math.floor((from - origin) / width) * width;
    const count = Math.ceil((to - first) / width) + 1;
    const rows =
        intervals(frames, first, width, count).map((each, index) => [first + index * width, each.i, each.p]);
    rows.push([first + count * width, 0, 0]);
    return rows;
}
