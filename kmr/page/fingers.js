// The time line by touch: one finger moves it, two zoom it. Swipes up and down are left to the browser, which scrolls the
// page, and taps as well: they are clicks.

// What is shown when the time under each finger is to stay under it; `now` and `before` are shares of the width.
function under_fingers([from, to], before, now) {
    const span = to - from;
    if (now.length === 1) {
        const away = (before[0] - now[0]) * span;
        return [from + away, to + away];
    }
    const least_share = 0.02; // fingers that meet would zoom without end
    const wide = fingers => Math.max(least_share, Math.abs(fingers[1] - fingers[0]));
    const middle = fingers => (fingers[0] + fingers[1]) / 2;
    const zoomed = span * wide(before) / wide(now);
    const start = from + middle(before) * span - middle(now) * zoomed;
    return [start, start + zoomed];
}

function listen_to_fingers(plot, time_line) {
    const fingers = new Map();

    function share_of(event) {
        const {left, width} = time_line.view();
        return (event.clientX - plot.getBoundingClientRect().left - left) / width;
    }

    function lift(event) { fingers.delete(event.pointerId); }

    plot.addEventListener('pointerdown', event => {
        if (event.pointerType === 'touch' && fingers.size < 2)
            fingers.set(event.pointerId, share_of(event));
    });
    plot.addEventListener('pointermove', event => {
        if (!fingers.has(event.pointerId))
            return;
        const before = [...fingers.values()];
        fingers.set(event.pointerId, share_of(event));
        time_line.show(...under_fingers(time_line.shown, before, [...fingers.values()]));
    });
    for (const name of ['pointerup', 'pointercancel', 'pointerleave'])
        plot.addEventListener(name, lift);
}
