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

function make_time_line(frames, events, choose) {
    const box = by_id('time-line');
    const lanes = by_id('lanes');
    const plot = by_id('plot');
    const whole = [frames.first_ms, Math.max(frames.last_ms, frames.first_ms + 40)];
    const step = usual_step(frames);
    const least_span = Math.min(200, whole[1] - whole[0]);
    let shown = whole.slice();
    let cursor = null;
    let drawn_bars = '';
    let graph = null;

    function view() {
        const area = graph.getArea();
        return {
            left: area.x,
            width: area.w,
            right: plot.clientWidth - area.x - area.w,
            from: shown[0],
            to: shown[1]
        };
    }

    // The part that is shown and one as wide on either side, so that there is something to move to.
    function rows() {
        const span = shown[1] - shown[0];
        const width = bar_width(step, span, most_bars);
        const from = Math.max(whole[0], shown[0] - span);
        const to = Math.min(whole[1], shown[1] + span);
        drawn_bars = width + ' ' + Math.floor(from / span) + ' ' + Math.ceil(to / span);
        return bars(frames, from, to, width, step);
    }

    function bounded(from, to) {
        const span = Math.min(Math.max(to - from, least_span), whole[1] - whole[0]);
        from = Math.min(Math.max(from, whole[0]), whole[1] - span);
        return [from, from + span];
    }

    function show(from, to) {
        shown = bounded(from, to);
        graph.updateOptions({file: rows(), dateWindow: shown});
        tell();
    }

    function tell() {
        const all = shown[0] <= whole[0] && shown[1] >= whole[1];
        by_id('window').textContent =
            'Shown: ' + (all ? 'the whole, ' : '') + stream_time(shown[0]) + ' to ' + stream_time(shown[1]);
    }

    // Damage and gaps, through the whole height.
    function shade(pen, area, of) {
        graph = of;
        const here = view();
        const colors = event_colors('-shade');
        for (const event of events) {
            const stretch = colors[event.severity] && !event.of_damage ? stretch_of(here, event) : null;
            if (!stretch)
                continue;
            pen.fillStyle = colors[event.severity];
            pen.fillRect(stretch.from, area.y, stretch.width, area.h);
        }
    }

    function place_cursor() {
        const line = by_id('cursor');
        const x = cursor === null ? -1 : x_of(view(), cursor);
        line.hidden = cursor === null || x < view().left - 1 || x > view().left + view().width + 1;
        line.style.left = x + 'px';
    }

    function drawn(of) {
        graph = of;
        const range = of.xAxisRange();
        if (range[0] !== shown[0] || range[1] !== shown[1]) { // by the mouse
            shown = bounded(...range);
            tell();
            requestAnimationFrame(renew);
        }
        draw_lanes(lanes, view(), frames, events);
        place_cursor();
    }

    // Other bars where others are wanted now, and nothing beyond the recording.
    function renew() {
        const before = drawn_bars;
        const file = rows();
        const range = graph.xAxisRange();
        if (before !== drawn_bars || range[0] !== shown[0] || range[1] !== shown[1])
            graph.updateOptions({file, dateWindow: shown});
    }

    function choose_time(ms) {
        choose(frame_at_time(frames, Math.min(Math.max(ms, whole[0]), whole[1])), 'time line');
    }

    function draw() {
        // The library's legend sets styles in markup, which the page does not allow; the page has one of its own.
        Dygraph.PLUGINS = Dygraph.PLUGINS.filter(each => each !== Dygraph.Plugins.Legend);
        // Its own handling of fingers would keep the page from being scrolled, and taps from being clicks.
        const {touchstart, touchmove, touchend, ...mouse} = Dygraph.defaultInteractionModel;
        const model = {...mouse, dblclick: () => show(...whole)};
        graph = new Dygraph(plot, rows(), {
            labels: ['time', 'I', 'P'],
            stackedGraph: true,
            stepPlot: true,
            fillGraph: true,
            fillAlpha: 0.85,
            strokeWidth: 0.5,
            colors: [color_of('i-frames'), color_of('p-frames')],
            includeZero: true,
            dateWindow: shown,
            gridLineColor: color_of('grid'),
            axisLineColor: color_of('grid'),
            highlightCircleSize: 0,
            xAxisHeight: 24,
            interactionModel: model,
            axes: {
                x: {ticker: clock_ticks, drawGrid: false, axisLabelWidth: 100},
                y: {axisLabelWidth: axis_width - 8, axisLabelFormatter: bit_rate_words, pixelsPerLabel: 36},
            },
            underlayCallback: shade,
            drawCallback: drawn,
            clickCallback: (event, ms) => choose_time(graph.toDataXCoord(event.offsetX)),
        });
    }

    const moves = {
        earlier: span => show(shown[0] - span / 4, shown[1] - span / 4),
        later: span => show(shown[0] + span / 4, shown[1] + span / 4),
        closer: span => zoom(span / 2),
        wider: span => zoom(span * 2),
        whole: () => show(...whole),
    };

    // Around the cursor, where it can be seen.
    function zoom(span) {
        const seen = cursor !== null && cursor >= shown[0] && cursor <= shown[1];
        const share = seen ? (cursor - shown[0]) / (shown[1] - shown[0]) : 0.5;
        const middle = shown[0] + share * (shown[1] - shown[0]);
        show(middle - share * span, middle + (1 - share) * span);
    }

    function move(name) { moves[name](shown[1] - shown[0]); }

    function leap(share) {
        choose_time((cursor === null ? shown[0] : cursor) + share * (shown[1] - shown[0]));
    }

    // The neighbour of the frame under the cursor, where a step would be shorter than a frame.
    function step_frames(by) {
        const now = cursor === null ? 0 : Math.max(0, place_of_time(frames, cursor + 0.5) - 1);
        const pixels = (shown[1] - shown[0]) / 200;
        const stepped = (cursor === null ? shown[0] : cursor) + by * pixels;
        const next = frames.by_time[Math.min(Math.max(now + by, 0), frames.count - 1)];
        if (frame_at_time(frames, stepped) === frames.by_time[now])
            choose(next, 'time line');
        else
            choose_time(stepped);
    }

    const keys = {
        ArrowLeft: () => step_frames(-1),
        ArrowRight: () => step_frames(1),
        ArrowDown: () => step_frames(-1),
        ArrowUp: () => step_frames(1),
        PageUp: () => leap(-0.1),
        PageDown: () => leap(0.1),
        Home: () => choose_time(whole[0]),
        End: () => choose_time(whole[1]),
        '+': () => move('closer'),
        '=': () => move('closer'),
        '-': () => move('wider'),
        '0': () => move('whole'),
        Enter: () => by_id('frames-table').focus(),
    };

    function listen() {
        box.addEventListener('keydown', event => {
            const act = event.ctrlKey || event.altKey || event.metaKey ? null : keys[event.key];
            if (!act)
                return;
            event.preventDefault();
            act();
        });
        listen_to_fingers(plot, {shown: () => shown, area: view, show});
        lanes.addEventListener('click', event => {
            const meant = event_at(view(), events, event.offsetX, event.offsetY);
            if (meant)
                choose(meant.index, 'time line', meant);
            else
                choose_time(graph.toDataXCoord(event.offsetX));
        });
        lanes.addEventListener('mousemove', event => {
            const meant = event_at(view(), events, event.offsetX, event.offsetY);
            lanes.title = meant ? meant.words : '';
        });
        by_id('time-line-tools').addEventListener('click', event => {
            if (event.target.dataset.move)
                move(event.target.dataset.move);
        });
    }

    // Colours and width are those of now.
    function renew_look() {
        graph.resize();
        graph.updateOptions({
            file: rows(),
            colors: [color_of('i-frames'), color_of('p-frames')],
            gridLineColor: color_of('grid'),
            axisLineColor: color_of('grid'),
        });
    }

    function say(ms, words) {
        box.setAttribute('aria-valuemin', Math.round(whole[0]));
        box.setAttribute('aria-valuemax', Math.round(whole[1]));
        box.setAttribute('aria-valuenow', Math.round(ms));
        box.setAttribute('aria-valuetext', words);
    }

    draw();
    listen();
    tell();
    say(whole[0], 'No frame is chosen');
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', renew_look);
    return {
        renew_look,
        // Moves the part that is shown where the cursor would not be seen.
        set_cursor(ms, words) {
            cursor = ms;
            const span = shown[1] - shown[0];
            if (ms < shown[0] || ms > shown[1])
                show(ms - span / 2, ms + span / 2);
            place_cursor();
            if (words)
                say(ms, words);
        },
    };
}
