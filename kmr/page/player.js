// The video, where the page has one: { type, codec, left_out, runs, pieces() }. Its time is not the recording's: frames may
// be left out of it, and where the recording's clock runs back it goes on. The runs say which frames are in it, and when.

// Frames in the order of the file, and the times in milliseconds at which they are shown. A run begins with the frame
// whose header stands at `offset`; within it times are as far apart as in the recording.
function shown_frames(frames, runs) {
    const count = runs.reduce((sum, [, length]) => sum + length, 0);
    const shown = {index: new Uint32Array(count), at_ms: new Float64Array(count), count};
    let place = 0;
    for (const [offset, length, at_ms] of runs) {
        const first = frame_at_offset(frames, offset);
        for (let index = first; index < first + length; ++index, ++place) {
            shown.index[place] = index;
            shown.at_ms[place] = at_ms + frames.stream_ms[index] - frames.stream_ms[first];
        }
    }
    return shown;
}

// Where in it a frame is, or the last one in front of that; the first one, where all are behind it.
function place_of_shown(shown, index) {
    return Math.max(0, bisect(shown.count, place => shown.index[place] > index) - 1);
}

function place_at(shown, ms) {
    return Math.max(0, bisect(shown.count, place => shown.at_ms[place] > ms) - 1);
}

// `moved` is told which frame is shown, and whether the video plays.
function make_player(video, frames, path, moved) {
    const player = by_id('video');
    const shown = shown_frames(frames, video.runs);
    const address = URL.createObjectURL(new Blob(video.pieces(), {type: video.type}));
    const link = by_id('video-save');
    link.href = address;
    link.download = file_name(path) + '.mp4';
    by_id('video-part').hidden = false;
    document.querySelector('a[href="#video-part"]').hidden = false;
    by_id('video-left-out').hidden = video.left_out === '';
    by_id('video-left-out').textContent = video.left_out.replace(/^l/, 'L') + '.';

    function tell_to_save(why) {
        by_id('video-words').textContent = why + '. Save it and open it in a player.';
    }

    if (video.codec !== 'h264') {
        tell_to_save('This browser does not play ' + (codec_names[video.codec] || 'such video'));
        return {seek() {}};
    }

    // Milliseconds: browsers round times, and two frames may be one millisecond apart.
    const into_the_frame = 0.5;
    const trifle = 0.1;
    let at = -1; // the frame that the page shows, by its place in the video

    function tell() {
        const place = place_at(shown, player.currentTime * 1000 + trifle);
        if (place === at)
            return;
        at = place;
        by_id('video-frame').textContent = '';
        moved(shown.index[place], !player.paused);
    }

    function follow() {
        tell();
        if (!player.paused && !player.ended)
            requestAnimationFrame(follow);
    }

    // Too large for this browser, or hit in the middle of a frame's data.
    function complain() {
        player.hidden = player.readyState === 0;
        tell_to_save('This browser does not play the video, or not all of it');
    }

    function listen() {
        player.addEventListener('error', complain);
        player.addEventListener('play', follow);
        player.addEventListener('seeked', tell);
        player.addEventListener('timeupdate', tell); // in pages out of sight too
        player.addEventListener('pause', () => moved(shown.index[Math.max(at, 0)], false));
    }

    player.hidden = false;
    listen();
    player.src = address;
    return {
        // What is not in the video has the frame in front of it shown.
        seek(index) {
            at = place_of_shown(shown, index);
            by_id('video-frame').textContent = shown.index[at] === index
                                                   ? ''
                                                   : 'Frame ' + frames.number[index] +
                                                         ' is not in the video; it shows frame ' +
                                                         frames.number[shown.index[at]] + '.';
            player.currentTime = (shown.at_ms[at] + into_the_frame) / 1000;
        },
    };
}
