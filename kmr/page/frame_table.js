// The table of frames: of a hundred thousand only those in sight are elements.

const row_height = 28;
const tallest = 8000000; // pixels; browsers lose count far beyond
const columns = [
    ['number', 'number', frames => frames.number],
    ['stream_ms', 'stream time', frames => frames.stream_ms, stream_time],
    ['type', 'type', null, (frames, index) => frames.is_i[index] ? 'I' : 'P'],
    ['delay_ms', 'delay ms', frames => frames.delay_ms],
    ['gap', 'missing', frames => frames.gap],
    ['offset', 'offset', frames => frames.offset],
    ['size', 'size', frames => frames.size],
    ['video_size', 'video', frames => frames.video_size],
    ['audio_frames', 'audio', frames => frames.audio_frames],
    ['audio_size', 'audio size', frames => frames.audio_size],
    ['stamp', 'stamp', frames => frames.stamp],
    ['class', 'class', null, (frames, index) => frame_classes[frames.kind[index]]],
    [
        'user_data', 'user data', null,
        (frames, index) => (frames.user_data.get(index) || []).map(each => each.kind).join(', ')
    ],
];

function cell_words(frames, index, [, , values, words]) {
    if (!values)
        return words(frames, index);
    const value = values(frames)[index];
    return words ? words(value) : String(value);
}

function row_class(frames, index) {
    if (frames.kind[index] === 2)
        return 'damaged';
    if (frames.gap[index] > 0)
        return 'behind-gap';
    return frames.is_i[index] ? 'i-frame' : '';
}

// `chosen` is told which frame the user has gone to.
function make_frame_table(frames, chosen) {
    const table = by_id('frames-table');
    const scroll = by_id('frames-scroll');
    const room = by_id('frames-room');
    const body = by_id('frames-rows');
    const heading_height = 32;
    let listed = Uint32Array.from(frames.stream_ms, (_, index) => index);
    let current = -1;
    let height = 0;

    function make_heading() {
        for (const [name, words, values] of columns) {
            const cell = element('th', words, (values ? 'number ' : '') + name);
            cell.scope = 'col';
            cell.setAttribute('role', 'columnheader');
            by_id('frames-heading').append(cell);
        }
        table.setAttribute('aria-colcount', columns.length);
    }

    function rows_in_sight() {
        return Math.max(1, Math.floor((scroll.clientHeight - heading_height) / row_height));
    }

    // With very many rows a pixel stands for more than itself.
    function place_of_scroll() {
        const most = Math.max(0, listed.length - rows_in_sight());
        const way = height - scroll.clientHeight;
        return way <= 0 ? 0 : Math.min(most, Math.round(scroll.scrollTop / way * most));
    }

    function scroll_of_place(place) {
        const most = Math.max(1, listed.length - rows_in_sight());
        return Math.min(1, place / most) * Math.max(0, height - scroll.clientHeight);
    }

    function fill_row(row, place) {
        const index = listed[place];
        row.id = 'frame-' + index;
        row.className = row_class(frames, index);
        row.setAttribute('aria-rowindex', place + 2);
        row.setAttribute('aria-selected', index === current);
        columns.forEach(
            (column, cell) => { row.cells[cell].textContent = cell_words(frames, index, column); });
    }

    function make_row() {
        const row = element('tr');
        row.setAttribute('role', 'row');
        for (const [name, , values] of columns) {
            const cell = element('td', '', (values ? 'number ' : '') + name);
            cell.setAttribute('role', 'gridcell');
            row.append(cell);
        }
        return row;
    }

    function draw() {
        const first = place_of_scroll();
        const count = Math.min(rows_in_sight(), listed.length - first);
        while (body.rows.length < count)
            body.append(make_row());
        while (body.rows.length > count)
            body.lastChild.remove();
        for (let row = 0; row < count; ++row)
            fill_row(body.rows[row], first + row);
        if (by_id('frame-' + current))
            table.setAttribute('aria-activedescendant', 'frame-' + current);
        else
            table.removeAttribute('aria-activedescendant');
    }

    function place_of(index) { return bisect(listed.length, place => listed[place] >= index); }

    function bring_into_sight(place) {
        const first = place_of_scroll();
        const last = first + rows_in_sight() - 1;
        if (place < first)
            scroll.scrollTop = scroll_of_place(place);
        else if (place > last)
            scroll.scrollTop = scroll_of_place(place - rows_in_sight() + 1);
    }

    function list(takes) {
        listed = Uint32Array.from({length: frames.count}, (_, index) => index).filter(takes);
        height = Math.min(tallest, listed.length * row_height + heading_height);
        room.style.height = height + 'px';
        table.setAttribute('aria-rowcount', listed.length + 1);
        draw();
        if (current >= 0)
            bring_into_sight(place_of(current));
    }

    function go(place) {
        if (listed.length > 0)
            chosen(listed[Math.min(Math.max(place, 0), listed.length - 1)], 'table');
    }

    const keys = {
        ArrowDown: place => place + 1,
        ArrowUp: place => place - 1,
        PageDown: place => place + rows_in_sight(),
        PageUp: place => place - rows_in_sight(),
        Home: () => 0,
        End: () => listed.length - 1,
    };

    function listen() {
        scroll.addEventListener('scroll', () => requestAnimationFrame(draw));
        new ResizeObserver(draw).observe(scroll);
        table.addEventListener('keydown', event => {
            const move = event.ctrlKey || event.altKey || event.metaKey ? null : keys[event.key];
            if (!move)
                return;
            event.preventDefault();
            go(current < 0 ? move(-1) : move(place_of(current)));
        });
        body.addEventListener('click', event => {
            const row = event.target.closest('tr');
            if (row)
                chosen(Number(row.id.slice('frame-'.length)), 'table');
        });
    }

    make_heading();
    listen();
    list(() => true);
    return {
        list,
        is_listed: index => listed[place_of(index)] === index,
        count: () => listed.length,
        set_current(index, in_the_middle) {
            current = index;
            const place = place_of(index);
            if (in_the_middle)
                scroll.scrollTop = scroll_of_place(Math.max(0, place - Math.floor(rows_in_sight() / 2)));
            else
                bring_into_sight(place);
            draw();
        },
    };
}
