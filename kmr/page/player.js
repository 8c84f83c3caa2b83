// The video, where the page has one: { type, codec, first_ms, bytes() }; first_ms is the stream time of its first picture.

// `moved` is told the stream time that is played.
function make_player(video, path, moved) {
    const player = by_id('video');
    const address = URL.createObjectURL(new Blob([video.bytes()], {type: video.type}));
    const link = by_id('video-save');
    link.href = address;
    link.download = path.slice(path.lastIndexOf('/') + 1) + '.mp4';
    by_id('video-part').hidden = false;
    document.querySelector('a[href="#video-part"]').hidden = false;

    function give_up() {
        player.hidden = true;
        by_id('video-words').textContent = 'This browser does not play ' +
                                           (codec_names[video.codec] || 'such video') +
                                           '. Save it and open it in a player.';
    }

    if (video.codec !== 'h264') {
        give_up();
        return {seek() {}};
    }
    let seeking_for = null; // what the page asked for is not told back to it
    player.hidden = false;
    player.addEventListener('error', give_up);
    player.addEventListener('timeupdate', () => {
        if (seeking_for === null)
            moved(video.first_ms + player.currentTime * 1000);
    });
    player.addEventListener('seeked', () => { seeking_for = null; });
    player.src = address;
    return {
        seek(ms) {
            if (!player.paused)
                return;
            seeking_for = ms;
            player.currentTime = Math.max(0, (ms - video.first_ms) / 1000) + 0.001;
        },
    };
}
