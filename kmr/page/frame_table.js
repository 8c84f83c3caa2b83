// The table of frames: of a hundred thousand only those in sight are elements.

const row_height = 28;
const heading_height = 32;
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

// Places in the list that keys lead to.
const frame_table_keys = {
    ArrowDown: (table, place) => place + 1,
    ArrowUp: (table, place) => place - 1,
    PageDown: (table, place) => place + table.rows_in_sight(),
    PageUp: (table, place) => place - table.rows_in_sight(),
    Home: () => 0,
    End: table => table.listed.length - 1,
};

class frame_table {
    // `chosen` is told which frame the user has gone to.
    constructor(frames, chosen) {
        Object.assign(this, {frames, chosen});
        this.table = by_id('frames-table');
        this.scroll = by_id('frames-scroll');
        this.body = by_id('frames-rows');
        this.current = -1;
        this.make_heading();
        this.list(() => true);
        this.listen();
    }

    make_heading() {
        for (const [name, words, values] of columns) {
            const cell = element('th', words, (values ? 'number ' : '') + name);
            cell.scope = 'col';
            cell.setAttribute('role', 'columnheader');
            by_id('frames-heading').append(cell);
        }
        this.table.setAttribute('aria-colcount', columns.length);
    }

    // Those frames for which `takes` holds.
    list(takes) {
        this.listed = Uint32Array.from({length: this.frames.count}, (_, index) => index).filter(takes);
        this.height = Math.min(tallest, this.listed.length * row_height + heading_height);
        by_id('frames-room').style.height = this.height + 'px';
        this.table.setAttribute('aria-rowcount', this.listed.length + 1);
        this.draw();
        if (this.current >= 0)
            this.bring_into_sight(this.place_of(this.current));
    }

    count() { return this.listed.length; }

    place_of(index) { return bisect(this.listed.length, place => this.listed[place] >= index); }

    is_listed(index) { return this.listed[this.place_of(index)] === index; }

    rows_in_sight() {
        return Math.max(1, Math.floor((this.scroll.clientHeight - heading_height) / row_height));
    }

    // With very many rows a pixel stands for more than itself.
    place_of_scroll() {
        const most = Math.max(0, this.listed.length - this.rows_in_sight());
        const way = this.height - this.scroll.clientHeight;
        return way <= 0 ? 0 : Math.min(most, Math.round(this.scroll.scrollTop / way * most));
    }

    scroll_of_place(place) {
        const most = Math.max(1, this.listed.length - this.rows_in_sight());
        return Math.min(1, place / most) * Math.max(0, this.height - this.scroll.clientHeight);
    }

    fill_row(row, place) {
        const index = this.listed[place];
        row.id = 'frame-' + index;
        row.className = row_class(this.frames, index);
        row.setAttribute('aria-rowindex', place + 2);
        row.setAttribute('aria-selected', index === this.current);
        columns.forEach(
            (column, cell) => { row.cells[cell].textContent = cell_words(this.frames, index, column); });
    }

    draw() {
        const first = this.place_of_scroll();
        const rows = this.body.rows;
        const count = Math.min(this.rows_in_sight(), this.listed.length - first);
        while (rows.length < count)
            this.body.append(make_row());
        while (rows.length > count)
            this.body.lastChild.remove();
        for (let row = 0; row < count; ++row)
            this.fill_row(rows[row], first + row);
        if (by_id('frame-' + this.current))
            this.table.setAttribute('aria-activedescendant', 'frame-' + this.current);
        else
            this.table.removeAttribute('aria-activedescendant');
    }

    bring_into_sight(place) {
        const first = this.place_of_scroll();
        const last = first + this.rows_in_sight() - 1;
        if (place < first)
            this.scroll.scrollTop = this.scroll_of_place(place);
        else if (place > last)
            this.scroll.scrollTop = this.scroll_of_place(place - this.rows_in_sight() + 1);
    }

    set_current(index, in_the_middle) {
        this.current = index;
        const place = this.place_of(index);
        const half = Math.floor(this.rows_in_sight() / 2);
        if (in_the_middle)
            this.scroll.scrollTop = this.scroll_of_place(Math.max(0, place - half));
        else
            this.bring_into_sight(place);
        this.draw();
    }

    go(place) {
        const last = this.listed.length - 1;
        if (last >= 0)
            this.chosen(this.listed[Math.min(Math.max(place, 0), last)], 'table');
    }

    listen() {
        this.scroll.addEventListener('scroll', () => requestAnimationFrame(() => this.draw()));
        new ResizeObserver(() => this.draw()).observe(this.scroll);
        this.table.addEventListener('keydown', event => {
            const move = event.ctrlKey || event.altKey || event.metaKey ? null : frame_table_keys[event.key];
            if (!move)
                return;
            event.preventDefault();
            this.go(move(this, this.current < 0 ? -1 : this.place_of(this.current)));
        });
        this.body.addEventListener('click', event => {
            const row = event.target.closest('tr');
            if (row)
                this.chosen(Number(row.id.slice('frame-'.length)), 'table');
        });
    }
}
