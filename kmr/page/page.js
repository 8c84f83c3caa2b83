// Puts the parts together: whatever is chosen anywhere is shown everywhere.

const page = read_page();
const start = parse_time(page.check.start);
const frames = frames_of(page.frames);
const tags = tags_of(frames, page.show, start);
const events = events_of(frames, page, tags);

fill_head(page);
fill_summary(page);
fill_findings(page, frames, choose);
fill_tags(tags, choose);
fill_facts(page);
fill_time_line_text(frames, events, page);

const table = new frame_table(frames, choose);
const time_line =
    frames.count > 0 && typeof Dygraph === 'function' ? new drawn_time_line(frames, events, choose) : null;
const player = page.video ? make_player(page.video, frames, page.check.path, follow) : null;

function frame_words(index) {
    const wall = wall_time(start, frames.stream_ms[index]);
    return 'Frame ' + frames.number[index] + ', ' + stream_time(frames.stream_ms[index]) +
           (wall ? ', ' + wall : '') + ', ' + (frames.is_i[index] ? 'I' : 'P') + ', ' +
           counted(frames.size[index], 'byte') +
           (frames.kind[index] === 0 ? '' : ', ' + frame_classes[frames.kind[index]]) +
           (frames.gap[index] > 0 ? ', ' + number_words(frames.gap[index]) + ' missing in front of it' : '');
}

// `by` says where; what a tag or a finding says goes in front.
function choose(index, by, what) {
    if (index < 0)
        return;
    if (!table.is_listed(index))
        clear_filters();
    show_frame(index, by !== 'table');
    const event = what ? what.words || finding_words(what) : '';
    by_id('frame-event').textContent = event;
    if (player)
        player.seek(index);
    by_id('chosen').textContent = (event ? event + ': ' : '') + frame_words(index);
    if (by === 'finding' || by === 'tag' || by === 'go to') {
        by_id('frames-table').focus({preventScroll: true});
        by_id('frames-part').scrollIntoView({block: 'nearest'});
    }
}

// `quietly`: without a word to screen readers.
function show_frame(index, in_the_middle, quietly) {
    table.set_current(index, in_the_middle);
    by_id('frame-title').textContent = frame_words(index);
    by_id('frame-event').textContent = '';
    const list = by_id('frame-user-data');
    list.replaceChildren();
    fill_list(list, (frames.user_data.get(index) || []).map(each => [each.kind, each.value]));
    if (time_line)
        time_line.set_cursor(frames.stream_ms[index], quietly ? '' : frame_words(index));
}

// The frame that the video shows; while it plays, none is said aloud.
function follow(index, plays) { show_frame(index, false, plays); }

function apply_filters() {
    const type = by_id('filter-type').value;
    const kind = frame_classes.indexOf(by_id('filter-class').value);
    const gaps = by_id('filter-gaps').checked;
    const user_data = by_id('filter-user-data').checked;
    table.list(index => (type === '' || (type === 'I') === (frames.is_i[index] === 1)) &&
                        (kind < 0 || frames.kind[index] === kind) && (!gaps || frames.gap[index] > 0) &&
                        (!user_data || frames.user_data.has(index)));
    const left_out = page.frames.user_data_left_out;
    by_id('frames-words').textContent =
        number_words(table.count()) + ' of ' + counted(frames.count, 'frame') +
        (left_out > 0 ? '; user data of later frames is not in this page (kmr frames --user-data lists it)'
                      : '');
}

function clear_filters() {
    by_id('filters').reset();
    apply_filters();
}

function go_to(text) {
    const ms = parse_stream_time(text);
    const index = ms !== null ? frame_at_time(frames, ms) : frames.number.indexOf(Number(text.trim()));
    if (text.trim() === '' || index < 0)
        by_id('frames-words').textContent = 'There is no frame ' + text.trim();
    else
        choose(index, 'go to');
}

by_id('filters').addEventListener('change', event => {
    if (event.target.id !== 'go-to')
        apply_filters();
});
by_id('filters').addEventListener('submit', event => event.preventDefault());
by_id('go-to').addEventListener('keydown', event => {
    if (event.key === 'Enter') {
        event.preventDefault();
        go_to(event.target.value);
    }
});
apply_filters();

if (!time_line)
    for (const name of ['time-line', 'time-line-keys', 'time-line-tools', 'window'])
        by_id(name).hidden = true;

// On paper everything is dark on light, and as wide as the paper.
function print_look(printed) {
    document.documentElement.toggleAttribute('data-print', printed);
    if (time_line)
        time_line.renew_look();
}
window.addEventListener('beforeprint', () => print_look(true));
window.addEventListener('afterprint', () => print_look(false));
document.documentElement.setAttribute('data-ready', '');
