// The time line: bit rate, strips of events, a cursor; zoomed and moved by mouse and keys.

const most_bars = 400;
const axis_width = 92;

// Steps at which a clock is read.
const clock_steps = [
    1,      2,      5,       10,      20,      50,       100,      200,     500,
    1000,   2000,   5000,    10000,   15000,   30000,    60000,    120000,  300000,
    600000, 900000, 1800000, 3600000, 7200000, 14400000, 43200000, 86400000
];

function clock_ticks(from, to, pixels) {
    const least = (to - from) / Math.max(2, pixels / 110);
    const step = clock_steps.find(each => each >= least) || Math.ceil(least / 86400000) * 86400000;
    const ticks = [];
    for (let v = Math.ceil(from / step) * step; v <= to; v += step)
        ticks.push({v, label: step < 1000 ? stream_time(v) : stream_time(v).slice(0, -4)});
    return ticks;
}

const time_line_moves = {
    earlier: (line, span) => line.show(line.shown[0] - span / 4, line.shown[1] - span / 4),
    later: (line, span) => line.show(line.shown[0] + span / 4, line.shown[1] + span / 4),
    closer: (line, span) => line.zoom(span / 2),
    wider: (line, span) => line.zoom(span * 2),
    whole: line => line.show(...line.whole),
};

const time_line_keys = {
    ArrowLeft: line => line.step_frames(-1),
    ArrowRight: line => line.step_frames(1),
    ArrowDown: line => line.step_frames(-1),
    ArrowUp: line => line.step_frames(1),
    PageUp: line => line.leap(-0.1),
    PageDown: line => line.leap(0.1),
    Home: line => line.choose_time(line.whole[0]),
    End: line => line.choose_time(line.whole[1]),
    '+': line => line.move('closer'),
    '=': line => line.move('closer'),
    '-': line => line.move('wider'),
    '0': line => line.move('whole'),
    Enter: () => by_id('frames-table').focus(),
};

class drawn_time_line {
    // `choose` is told which frame is pointed at.
    constructor(frames, events, choose) {
        Object.assign(this, {frames, events, choose});
        this.box = by_id('time-line');
        this.plot = by_id('plot');
        this.lanes = by_id('lanes');
        this.whole = [frames.first_ms, Math.max(frames.last_ms, frames.first_ms + 40)];
        this.step = usual_step(frames);
        this.least_span = Math.min(200, this.whole[1] - this.whole[0]);
        this.shown = this.whole.slice();
        this.cursor = null;
        this.drawn_bars = '';
        this.graph = null;
        this.draw();
        this.listen();
        this.tell();
        this.say(this.whole[0], 'No frame is chosen');
    }

    span() { return this.shown[1] - this.shown[0]; }

    view() {
        const area = this.graph.getArea();
        return {
            left: area.x,
            width: area.w,
            right: this.plot.clientWidth - area.x - area.w,
            from: this.shown[0],
            to: this.shown[1]
        };
    }

    // The part that is shown and one as wide on either side, so that there is something to move to.
    rows() {
        const span = this.span();
        const width = bar_width(this.step, span, most_bars);
        const from = Math.max(this.whole[0], this.shown[0] - span);
        const to = Math.min(this.whole[1], this.shown[1] + span);
        this.drawn_bars = width + ' ' + Math.floor(from / span) + ' ' + Math.ceil(to / span);
        return bars(this.frames, from, to, width, this.step);
    }

    bounded(from, to) {
        const span = Math.min(Math.max(to - from, this.least_span), this.whole[1] - this.whole[0]);
        from = Math.min(Math.max(from, this.whole[0]), this.whole[1] - span);
        return [from, from + span];
    }

    show(from, to) {
        this.shown = this.bounded(from, to);
        this.graph.updateOptions({file: this.rows(), dateWindow: this.shown});
        this.tell();
    }

    tell() {
        const [from, to] = this.shown;
        const all = from <= this.whole[0] && to >= this.whole[1];
        by_id('window').textContent =
            'Shown: ' + (all ? 'the whole, ' : '') + stream_time(from) + ' to ' + stream_time(to);
    }

    // Damage and gaps, through the whole height.
    shade(pen, area, graph) {
        this.graph = graph;
        const view = this.view();
        const colors = event_colors('-shade');
        for (const event of this.events) {
            const stretch = colors[event.severity] && !event.of_damage ? stretch_of(view, event) : null;
            if (!stretch)
                continue;
            pen.fillStyle = colors[event.severity];
            pen.fillRect(stretch.from, area.y, stretch.width, area.h);
        }
    }

    place_cursor() {
        const line = by_id('cursor');
        const view = this.view();
        const x = this.cursor === null ? -1 : x_of(view, this.cursor);
        line.hidden = this.cursor === null || x < view.left - 1 || x > view.left + view.width + 1;
        line.style.left = x + 'px';
    }

    drawn(graph) {
        this.graph = graph;
        const range = graph.xAxisRange();
        if (range[0] !== this.shown[0] || range[1] !== this.shown[1]) { // by the mouse
            this.shown = this.bounded(...range);
            this.tell();
            requestAnimationFrame(() => this.renew());
        }
        draw_lanes(this.lanes, this.view(), this.frames, this.events);
        this.place_cursor();
    }

    // Other bars where others are wanted now, and nothing beyond the recording.
    renew() {
        const before = this.drawn_bars;
        const file = this.rows();
        const range = this.graph.xAxisRange();
        if (before !== this.drawn_bars || range[0] !== this.shown[0] || range[1] !== this.shown[1])
            this.graph.updateOptions({file, dateWindow: this.shown});
    }

    draw() {
        // The library's legend sets styles in markup, which the page does not allow; the page has one of its own.
        Dygraph.PLUGINS = Dygraph.PLUGINS.filter(each => each !== Dygraph.Plugins.Legend);
        // Its own handling of fingers would keep the page from being scrolled, and taps from being clicks.
        const {touchstart, touchmove, touchend, ...mouse} = Dygraph.defaultInteractionModel;
        this.graph = new Dygraph(this.plot, this.rows(), {
            ...this.look(),
            labels: ['time', 'I', 'P'],
            stackedGraph: true,
            stepPlot: true,
            fillGraph: true,
            fillAlpha: 0.85,
            strokeWidth: 0.5,
            includeZero: true,
            dateWindow: this.shown,
            highlightCircleSize: 0,
            xAxisHeight: 24,
            interactionModel: {...mouse, dblclick: () => this.show(...this.whole)},
            axes: {
                x: {ticker: clock_ticks, drawGrid: false, axisLabelWidth: 100},
                y: {axisLabelWidth: axis_width - 8, axisLabelFormatter: bit_rate_words, pixelsPerLabel: 36},
            },
            underlayCallback: (pen, area, graph) => this.shade(pen, area, graph),
            drawCallback: graph => this.drawn(graph),
            clickCallback: event => this.choose_time(this.graph.toDataXCoord(event.offsetX)),
        });
    }

    look() {
        return {
            colors: [color_of('i-frames'), color_of('p-frames')],
            gridLineColor: color_of('grid'),
            axisLineColor: color_of('grid'),
        };
    }

    // Colours and width are those of now.
    renew_look() {
        this.graph.resize();
        this.graph.updateOptions({file: this.rows(), ...this.look()});
    }

    // Around the cursor, where it can be seen.
    zoom(span) {
        const [from, to] = this.shown;
        const seen = this.cursor !== null && this.cursor >= from && this.cursor <= to;
        const share = seen ? (this.cursor - from) / (to - from) : 0.5;
        const middle = from + share * (to - from);
        this.show(middle - share * span, middle + (1 - share) * span);
    }

    move(name) { time_line_moves[name](this, this.span()); }

    choose_time(ms) {
        const within = Math.min(Math.max(ms, this.whole[0]), this.whole[1]);
        this.choose(frame_at_time(this.frames, within), 'time line');
    }

    // Where keys begin.
    place() { return this.cursor === null ? this.shown[0] : this.cursor; }

    leap(share) { this.choose_time(this.place() + share * this.span()); }

    // The neighbour of the frame under the cursor, where a step would be shorter than a frame.
    step_frames(by) {
        const {by_time, count} = this.frames;
        const now = this.cursor === null ? 0 : Math.max(0, place_of_time(this.frames, this.cursor + 0.5) - 1);
        const stepped = this.place() + by * this.span() / 200;
        if (frame_at_time(this.frames, stepped) === by_time[now])
            this.choose(by_time[Math.min(Math.max(now + by, 0), count - 1)], 'time line');
        else
            this.choose_time(stepped);
    }

    event_under(mouse) { return event_at(this.view(), this.events, mouse.offsetX, mouse.offsetY); }

    listen() {
        this.box.addEventListener('keydown', event => {
            const act = event.ctrlKey || event.altKey || event.metaKey ? null : time_line_keys[event.key];
            if (!act)
                return;
            event.preventDefault();
            act(this);
        });
        listen_to_fingers(this.plot, this);
        this.lanes.addEventListener('click', event => {
            const meant = this.event_under(event);
            if (meant)
                this.choose(meant.index, 'time line', meant);
            else
                this.choose_time(this.graph.toDataXCoord(event.offsetX));
        });
        this.lanes.addEventListener('mousemove', event => {
            const meant = this.event_under(event);
            this.lanes.title = meant ? meant.words : '';
        });
        by_id('time-line-tools').addEventListener('click', event => {
            if (event.target.dataset.move)
                this.move(event.target.dataset.move);
        });
        matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.renew_look());
    }

    say(ms, words) {
        this.box.setAttribute('aria-valuemin', Math.round(this.whole[0]));
        this.box.setAttribute('aria-valuemax', Math.round(this.whole[1]));
        this.box.setAttribute('aria-valuenow', Math.round(ms));
        this.box.setAttribute('aria-valuetext', words);
    }

    // Moves the part that is shown where the cursor would not be seen.
    set_cursor(ms, words) {
        this.cursor = ms;
        const half = this.span() / 2;
        if (ms < this.shown[0] || ms > this.shown[1])
            this.show(ms - half, ms + half);
        this.place_cursor();
        if (words)
            this.say(ms, words);
    }
}
