// Verdict, findings, tags, header and counts: everything that stands still.

const codec_names = {
    h264: 'H.264',
    h265: 'H.265',
    mjpeg: 'MJPEG'
};

function fill_list(list, facts) {
    for (const [name, value] of facts) {
        const pair = element('div');
        pair.append(element('dt', name), element('dd', value));
        list.append(pair);
    }
}

function fill_head(page) {
    const {check} = page;
    const name = file_name(check.path);
    document.title = name + ': ' + check.verdict;
    by_id('name').textContent = name;
    by_id('name').title = visible(check.path);
    by_id('verdict').textContent = check.verdict;
    by_id('verdict').classList.add(check.verdict.replaceAll(' ', '-'));
    const nice = text => text ? text.replace('T', ' ') : 'not known';
    by_id('span').textContent = check.duration_ms === null ? 'It shows no time.'
                                                           : nice(check.start) + ' to ' + nice(check.end) +
                                                                 ', ' + stream_time(check.duration_ms);
    by_id('trouble').hidden = !check.changed;
    by_id('trouble').textContent =
        'The file was written to while it was read: this is what stood there at the beginning.';
}

function fill_summary(page) {
    const {check, show} = page;
    const {frames} = check;
    const size = show.width ? show.width + '\u00a0\u00d7\u00a0' + show.height : '';
    fill_list(by_id('summary'), [
        ['Frames', number_words(frames.total)],
        ['Missing', number_words(frames.lost)],
        ['Damaged', number_words(frames.damaged)],
        ['Longest gap', stream_time(show.longest_gap_ms)],
        ['Video', [codec_names[show.codec] || 'unknown coding', size].filter(each => each).join(', ')],
        ['Bit rate', show.bit_rate === null ? 'not known' : bit_rate_words(show.bit_rate)],
        ['Size', check.size === null ? 'not known' : byte_words(check.size)],
        ['Index', check.index.present ? counted(check.index.records, 'record') : 'none'],
    ]);
    const {repair} = check;
    by_id('repair').textContent = repair.possible
                                      ? 'kmr repair would keep ' + counted(repair.frames_kept, 'frame') +
                                            ', ' + counted(repair.bytes_kept, 'byte') + ', and lose ' +
                                            counted(repair.bytes_lost, 'byte') + '.'
                                      : '';
}

function finding_row(finding, choose) {
    const row = element('tr', '', finding.severity);
    row.append(element('td', finding.severity, 'severity'), cell_to_choose(finding.code, choose),
               element('td', finding.message),
               element('td', finding.frame === null ? '' : String(finding.frame), 'number'),
               element('td', finding.time_ms === null ? '' : stream_time(finding.time_ms), 'number'),
               element('td', String(finding.offset), 'number'),
               element('td', String(finding.length), 'number'));
    return row;
}

function fill_findings(page, frames, choose) {
    const {findings, findings_left_out} = page.check;
    by_id('findings-words').textContent =
        findings.length === 0
            ? 'Nothing was found.'
            : counted(findings.length, 'finding') +
                  (findings_left_out > 0 ? ', and ' + number_words(findings_left_out) +
                                               ' more of the same kinds (kmr check --all-findings lists them)'
                                         : '') +
                  '.';
    by_id('findings-scroll').hidden = findings.length === 0;
    for (const finding of findings) {
        const index = frame_of_finding(frames, finding);
        by_id('findings')
            .append(finding_row(finding, index < 0 ? null : () => choose(index, 'finding', finding)));
    }
    by_id('save-findings').addEventListener('click', () => save_findings(page.check));
}

function save_findings(check) {
    const text = JSON.stringify(check, null, 2) + '\n';
    save(new Blob([text], {type: 'application/json'}), check.path, '.findings.json');
}

function save(blob, path, suffix) {
    const link = element('a');
    link.href = URL.createObjectURL(blob);
    link.download = file_name(path) + suffix;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

// What is chosen by a click; plain text where there is nothing to choose.
function cell_to_choose(words, act) {
    const cell = element('td', act ? '' : words);
    if (act) {
        const button = element('button', words, 'link');
        button.type = 'button';
        button.addEventListener('click', act);
        cell.append(button);
    }
    return cell;
}

function fill_tags(tags, choose) {
    by_id('tags-words').textContent = tags.length === 0 ? 'There are no tags.' : '';
    by_id('tags-table').hidden = tags.length === 0;
    for (const tag of tags) {
        const row = element('tr');
        const act = tag.index < 0 ? null : () => choose(tag.index, 'tag', tag);
        row.append(element('td', tag.time.replace('T', ' ')),
                   element('td', tag.index < 0 ? '' : stream_time(tag.from), 'number'),
                   cell_to_choose(tag.words, act));
        by_id('tags').append(row);
    }
}

function fill_facts(page) {
    const {check, show} = page;
    const {header, frames} = check;
    fill_list(
        by_id('header'),
        header === null
            ? [['header', 'shorter than 88 bytes']]
            : Object.entries(header).map(
                  ([name,
                    value]) => [name.replaceAll('_', ' '), value === null ? 'no date' : String(value)]));
    fill_list(by_id('counts'), [
        ...Object.entries(frames).map(([name, value]) => ['frames, ' + name, number_words(value)]),
        ['index records', number_words(check.index.records)],
        ['tags', number_words(check.index.tags)],
        ['user data', show.user_data.join(', ') || 'none'],
        ['path', check.path],
    ]);
}

// The time line for those who do not see it.
function fill_time_line_text(frames, events, page) {
    const {check, show} = page;
    const most = frames.by_time.reduce((found, index) => Math.max(found, frames.gap[index]), 0);
    const gaps = events.filter(each => each.lane === 'gaps').length;
    by_id('time-line-words').textContent =
        frames.count === 0
            ? 'There is no frame to draw.'
            : stream_time(frames.last_ms - frames.first_ms) + ' with ' + counted(frames.count, 'frame') +
                  (show.bit_rate === null ? '' : ', ' + bit_rate_words(show.bit_rate) + ' on average') +
                  '; ' + counted(gaps, 'gap') +
                  (gaps > 0 ? ', the largest of ' + counted(most, 'frame') : '') + '; ' +
                  counted(events.filter(each => each.lane === 'damage').length, 'place of damage',
                          'places of damage') +
                  '; ' + counted(show.tags.length, 'tag') + '.' +
                  (check.findings_left_out > 0
                       ? ' Of what is not listed, gaps, torn bytes and damaged frames alone are drawn.'
                       : '');
    if (frames.count === 0)
        return;
    const span = Math.max(1, frames.last_ms - frames.first_ms);
    const width = round_step(Math.max(span / 24, 1));
    const count = Math.floor(span / width) + 1;
    intervals(frames, frames.first_ms, width, count).forEach((each, place) => {
        const from = frames.first_ms + place * width;
        const there = events.filter(event => event.to >= from && event.to < from + width);
        const row = element('tr');
        row.append(
            element('td', stream_time(from)), element('td', number_words(each.frames), 'number'),
            element('td', number_words(each.i_frames), 'number'),
            element('td', bit_rate_words(each.i), 'number'), element('td', bit_rate_words(each.p), 'number'),
            element('td', number_words(each.missing), 'number'), element('td', words_of_events(there)));
        by_id('time-line-rows').append(row);
    });
}

function words_of_events(events) {
    const most = 5;
    const words = events.slice(0, most).map(each => (each.lane === 'tags' ? 'tag: ' : '') + each.words);
    if (events.length > most)
        words.push('and ' + number_words(events.length - most) + ' more');
    return words.join('; ');
}
