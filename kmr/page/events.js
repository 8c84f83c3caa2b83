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
    'encrypted': 'damage',
};

// A finding about what lies between two frames covers the time between them.
const between_frames = new Set(['bytes-torn', 'frames-lost', 'clock-leap', 'paused']);

function time_before(frames, index) {
    for (let before = index - 1; before >= 0; --before)
        if (frames.kind[before] === 0)
            return frames.stream_ms[before];
    return index < frames.count ? frames.stream_ms[index] : frames.last_ms;
}

// The frame that a finding is about: its own, or the one behind. -1: none.
function frame_of_finding(frames, finding) {
    if (finding.frame === null && finding.time_ms === null && !(finding.code in lane_of_code))
        return -1;
    const index = frame_at_offset(frames, finding.offset);
    return index < frames.count ? index : frames.count - 1;
}

function event_of_finding(frames, finding) {
    const lane = lane_of_code[finding.code];
    const index = frame_of_finding(frames, finding);
    if (!lane || index < 0)
        return null;
    const to = finding.time_ms === null ? frames.last_ms : finding.time_ms;
    const from = between_frames.has(finding.code) ? Math.min(to, time_before(frames, index)) : to;
    return {lane, from, to, index, severity: finding.severity, words: finding.code + ': ' + finding.message};
}

// Gaps and damaged frames whose findings are too many to be listed.
function events_of_frames(frames, told) {
    const found = [];
    for (let index = 0; index < frames.count; ++index) {
        const lane = frames.gap[index] > 0 ? 'gaps' : frames.kind[index] === 2 ? 'damage' : '';
        if (!lane || told.has(lane + index))
            continue;
        const to = frames.stream_ms[index];
        const from = lane === 'gaps' ? Math.min(to, time_before(frames, index)) : to;
        const words =
            lane === 'gaps' ? counted(frames.gap[index], 'frame number') + ' missing' : 'damaged frame';
        const of_damage = told.has('damage' + index);
        found.push(
            {lane, from, to, index, severity: lane === 'gaps' ? 'warning' : 'error', words, of_damage});
    }
    return found;
}

function events_of_tags(frames, show, start) {
    const found = [];
    for (const tag of show.tags) {
        const at = parse_time(tag.time);
        if (!at || !start)
            continue;
        const ms = at.ms - start.ms;
        found.push({
            lane: 'tags',
            from: ms,
            to: ms,
            index: frame_at_time(frames, ms),
            severity: 'tag',
            words: tag.text
        });
    }
    return found;
}

function events_of(frames, page, start) {
    const findings = page.check.findings.map(each => event_of_finding(frames, each)).filter(each => each);
    const told = new Set(findings.map(each => each.lane + each.index));
    return [...findings, ...events_of_frames(frames, told), ...events_of_tags(frames, page.show, start)];
}
