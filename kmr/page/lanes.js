// Strips below the picture of the bit rate: one for each kind of event, in step with it.

const lane_height = 20;
const lane_names = [
    ['i_frames', 'I-frames'],
    ['damage', 'damage'],
    ['gaps', 'gaps'],
    ['clock', 'clock, pauses'],
    ['tags', 'tags'],
];

function color_of(name) {
    return getComputedStyle(document.documentElement).getPropertyValue('--' + name).trim();
}

// `view` has from, to (stream time), left and width (pixels).
function x_of(view, ms) { return view.left + (ms - view.from) / (view.to - view.from) * view.width; }

// A canvas of so many pixels of the page, as fine as the screen.
function fresh_canvas(canvas, width, height) {
    const fine = window.devicePixelRatio || 1;
    canvas.width = Math.round(width * fine);
    canvas.height = Math.round(height * fine);
    canvas.style.width = width + 'px';
    canvas.style.height = height + 'px';
    const pen = canvas.getContext('2d');
    pen.scale(fine, fine);
    return pen;
}

function draw_lane_names(pen, view) {
    pen.font = '12px system-ui, sans-serif';
    pen.textBaseline = 'middle';
    pen.textAlign = 'right';
    lane_names.forEach(([name, words], lane) => {
        pen.fillStyle = color_of('lane');
        pen.fillRect(view.left, lane * lane_height + 3, view.width, lane_height - 6);
        pen.fillStyle = color_of('quiet');
        pen.fillText(words, view.left - 8, lane * lane_height + lane_height / 2);
    });
}

// At most one stroke a pixel, however many frames there are.
function draw_i_frames(pen, view, frames) {
    pen.fillStyle = color_of('i-frames');
    let last = -Infinity;
    for (let place = place_of_time(frames, view.from); place < frames.count; ++place) {
        const index = frames.by_time[place];
        if (frames.stream_ms[index] > view.to)
            break;
        const x = Math.round(x_of(view, frames.stream_ms[index]));
        if (!frames.is_i[index] || x <= last)
            continue;
        pen.fillRect(x - 0.5, 3, 1.5, lane_height - 6);
        last = x;
    }
}

// The pixels that an event covers, three at least; null: it is out of sight.
function stretch_of(view, event) {
    if (event.to < view.from || event.from > view.to)
        return null;
    const from = Math.max(view.left, x_of(view, event.from));
    const to = Math.min(view.left + view.width, x_of(view, event.to));
    return {from: from - 1, width: Math.max(3, to - from + 2)};
}

// By severity: looking a colour up takes longer than drawing.
function event_colors(suffix) {
    const names = ['error', 'warning', 'info', 'tag'];
    return Object.fromEntries(names.map(name => [name, color_of(name + suffix)]));
}

function draw_events(pen, view, events) {
    const colors = event_colors('');
    for (const event of events) {
        const stretch = stretch_of(view, event);
        if (!stretch)
            continue;
        pen.fillStyle = colors[event.severity];
        pen.fillRect(stretch.from, lane_of(event) * lane_height + 3, stretch.width, lane_height - 6);
    }
}

// As much of it as there is room for.
function shortened(pen, words, room) {
    const letters = Array.from(words);
    const fits = count => pen.measureText(letters.slice(0, count).join('') + '\u2026').width <= room;
    if (pen.measureText(words).width <= room)
        return words;
    const most = bisect(letters.length, count => !fits(count + 1));
    return most > 0 ? letters.slice(0, most).join('') + '\u2026' : '';
}

// What tags say stands behind them, up to the next one.
function draw_tag_words(pen, view, events) {
    const beside = 5;
    const least = 24;
    const end = view.left + view.width;
    const tags =
        events.filter(each => each.lane === 'tags' && each.from >= view.from && each.from <= view.to);
    tags.sort((left, right) => left.from - right.from);
    pen.fillStyle = color_of('text');
    pen.textAlign = 'left';
    tags.forEach((tag, place) => {
        const x = x_of(view, tag.from) + beside;
        const room = (place + 1 < tags.length ? x_of(view, tags[place + 1].from) : end) - beside - x;
        if (room >= least)
            pen.fillText(shortened(pen, tag.words, room), x, (lane_of(tag) + 0.5) * lane_height);
    });
}

function lane_of(event) { return lane_names.findIndex(([name]) => name === event.lane); }

function draw_lanes(canvas, view, frames, events) {
    const pen = fresh_canvas(canvas, view.left + view.width + view.right, lane_names.length * lane_height);
    draw_lane_names(pen, view);
    draw_i_frames(pen, view, frames);
    draw_events(pen, view, events);
    draw_tag_words(pen, view, events);
}

// What somebody means who points there: the nearest event of that strip, a few pixels off at most.
function event_at(view, events, x, y) {
    const lane = Math.floor(y / lane_height);
    let nearest = null;
    let least = 7;
    for (const event of events) {
        const away = Math.max(x_of(view, event.from) - x, x - x_of(view, event.to), 0);
        if (lane_of(event) === lane && away < least) {
            nearest = event;
            least = away;
        }
    }
    return nearest;
}
