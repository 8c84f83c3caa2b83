// Numbers and times in words.

function by_id(name) { return document.getElementById(name); }

const invisible = /[\u0000-\u001f\u007f-\u009f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]/g;

// Text from outside without control characters, and without marks that turn the direction of writing.
function visible(text) {
    return text.replace(invisible, each => '\\u' + each.charCodeAt(0).toString(16).padStart(4, '0'));
}

// An element with text: what comes from a recording is only ever text.
function element(name, text = '', of_class = '') {
    const made = document.createElement(name);
    made.textContent = visible(text);
    if (of_class)
        made.className = of_class;
    return made;
}

// The last part of a path.
function file_name(path) { return visible(path.slice(path.lastIndexOf('/') + 1)); }

function digits(value, least) { return String(value).padStart(least, '0'); }

function stream_time(ms) {
    const whole = Math.abs(Math.round(ms));
    const seconds = Math.floor(whole / 1000);
    return (ms < 0 ? '-' : '') + Math.floor(seconds / 3600) + ':' + digits(Math.floor(seconds / 60) % 60, 2) +
           ':' + digits(seconds % 60, 2) + '.' + digits(whole % 1000, 3);
}

// "0:01.720", "1:00:01"; null for anything else.
function parse_stream_time(text) {
    const found = /^(?:(\d+):)?(\d+):(\d{1,2})(?:\.(\d{1,3}))?$/.exec(text.trim());
    if (!found)
        return null;
    const seconds = (Number(found[1] || 0) * 60 + Number(found[2])) * 60 + Number(found[3]);
    return seconds * 1000 + Number((found[4] || '').padEnd(3, '0'));
}

// A time as `kmr` writes it: milliseconds since 1970 in UTC, and the minutes that its zone is ahead.
function parse_time(text) {
    const found = /^(-?\d+)-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)\.(\d{3})([+-])(\d\d):(\d\d)$/.exec(text || '');
    if (!found)
        return null;
    const [year, month, day, hour, minute, second, ms] = found.slice(1, 8).map(Number);
    const ahead = (found[8] === '-' ? -1 : 1) * (Number(found[9]) * 60 + Number(found[10]));
    const date = new Date(0);
    date.setUTCFullYear(year, month - 1, day);
    date.setUTCHours(hour, minute, second, ms);
    return {ms: date.getTime() - ahead * 60000, ahead};
}

// The time of day at a stream time, in the zone of the start.
function wall_time(start, stream_ms) {
    if (!start)
        return '';
    const date = new Date(start.ms + stream_ms + start.ahead * 60000);
    return Number.isNaN(date.getTime()) ? '' : date.toISOString().slice(0, -1).replace('T', ' ');
}

const grouped = new Intl.NumberFormat('en', {useGrouping: true});

function number_words(value) {
    return value === null || value === undefined ? 'not known'
                                                 : grouped.format(value).replaceAll(',', '\u202f');
}

function counted(count, one, many = one + 's') {
    return number_words(count) + ' ' + (count === 1 ? one : many);
}

// 88603 -> "88.6 kbit/s"
function bit_rate_words(value) { return scaled(value, 1000, ['bit/s', 'kbit/s', 'Mbit/s', 'Gbit/s']); }

function byte_words(value) { return scaled(value, 1000, ['bytes', 'kB', 'MB', 'GB']); }

function scaled(value, step, units) {
    let unit = 0;
    while (unit + 1 < units.length && value >= step) {
        value /= step;
        ++unit;
    }
    const places = unit === 0 || value >= 100 ? 0 : 1;
    return Number(value.toFixed(places)) + ' ' + units[unit];
}
