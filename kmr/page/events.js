// What happens on the time line besides frames: damage, gaps, the clock, tags.

const lane_of_code = {
    'bytes-torn': 'damage',
    'frame-lengths-wrong': 'damage',
    'frame-torn-at-end': 'damage',
    'video-start-missing': 'damage',
    'kind-wrong': 'damage',
    'i-frame-incomplete': 'damage',
    'user-data-broken': 'damage',
    'frames-lost': 'gaps',
    'frames-repeated': 'gaps',
    'clock-leap': 'clock',
    'clock-back': 'clock',
    'paused': 'clock',
};

// A finding about what lies between two frames covers the time between them.
const between_frames = new Set(['bytes-torn', 'frames-lost', 'clock-leap', 'paused']);

const file_header_size = 88;
const frame_header_size = 32;

function time_before(frames, index) {
    for (let before = index - 1; before >= 0; --before)
        if (frames.kind[before] === 0)
            return frames.stream_ms[before];
    return index < frames.count ? frames.stream_ms[index] : frames.last_ms;
}

// The frame that a finding is about: its own, or the one behind. -1: none. Findings about records of the index name a
// frame by its number alone.
function frame_of_finding(frames, finding) {
    if (finding.frame === null)
        return finding.code in lane_of_code ? frames.count - 1 : -1;
    const header = finding.code === 'user-data-broken' ? finding.offset - frame_header_size : finding.offset;
    const index = frame_at_offset(frames, header);
    return frames.number[index] === finding.frame ? index : frames.number.indexOf(finding.frame);
}

function finding_words(finding) { return finding.code + ': ' + finding.message; }

function event_of_finding(frames, finding) {
    const lane = lane_of_code[finding.code];
    const index = frame_of_finding(frames, finding);
    if (!lane || index < 0)
        return null;
    const to = finding.time_ms === null ? frames.last_ms : finding.time_ms;
    const from = between_frames.has(finding.code) ? Math.min(to, time_before(frames, index)) : to;
    return {lane, from, to, index, severity: finding.severity, words: finding_words(finding)};
}

// Bytes in front of a frame that belong to none. Where a damaged frame ends is not known.
function torn_bytes_before(frames, index) {
    if (index > 0 && frames.kind[index - 1] === 2)
        return 0;
    const end = index === 0 ? file_header_size : frames.offset[index - 1] + frames.size[index - 1];
    return Math.max(0, frames.offset[index] - end);
}

// What the frames tell by themselves.
function signs_at(frames, index) {
    const signs = [];
    const torn = torn_bytes_before(frames, index);
    if (frames.gap[index] > 0)
        signs.push({lane: 'gaps', words: counted(frames.gap[index], 'frame number') + ' missing'});
    if (torn > 0)
        signs.push(
            {lane: 'damage', between: true, words: counted(torn, 'byte is', 'bytes are') + ' no frame'});
    else if (frames.kind[index] === 2)
        signs.push({lane: 'damage', words: 'damaged frame'});
    return signs;
}

// Gaps, torn bytes and damaged frames whose findings are too many to be listed.
function events_of_frames(frames, told) {
    const found = [];
    for (let index = 0; index < frames.count; ++index) {
        const signs = signs_at(frames, index);
        const is_damage = told.has('damage' + index) || signs.some(each => each.lane === 'damage');
        for (const {lane, between, words} of signs.filter(each => !told.has(each.lane + index))) {
            const to = frames.stream_ms[index];
            const from = lane === 'gaps' || between ? Math.min(to, time_before(frames, index)) : to;
            const severity = lane === 'gaps' ? 'warning' : 'error';
            const of_damage = lane === 'gaps' && is_damage;
            found.push({lane, from, to, index, severity, words, of_damage});
        }
    }
    return found;
}

// Tags have the whole second of their I-frame.
function frame_of_tag(frames, ms) {
    for (let place = place_of_time(frames, ms); place < frames.count; ++place) {
        const index = frames.by_time[place];
        if (frames.stream_ms[index] >= ms + 1000)
            break;
        if (frames.is_i[index])
            return index;
    }
    return frame_at_time(frames, ms);
}

// With the frame that each is at, as far as anything tells it.
function tags_of(frames, show, start) {
    return show.tags.map(tag => {
        const words = visible(tag.text);
        const at = parse_time(tag.time);
        const index = at && start ? frame_of_tag(frames, at.ms - start.ms) : -1;
        const ms = index < 0 ? null : frames.stream_ms[index];
        return {lane: 'tags', from: ms, to: ms, index, severity: 'tag', words, time: tag.time};
    });
}

function events_of(frames, page, tags) {
    const findings = page.check.findings.map(each => event_of_finding(frames, each)).filter(each => each);
    const told = new Set(findings.map(each => each.lane + each.index));
    return [...findings, ...events_of_frames(frames, told), ...tags.filter(each => each.index >= 0)];
}
