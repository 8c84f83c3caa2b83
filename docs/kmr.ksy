meta:
  id: kmr
  title: Recording of a digital video recorder
  file-extension: kmr
  ks-version: '0.10'
  endian: le
  bit-endian: le
doc: |
  A recording for parsers that Kaitai Struct generates (https://kaitai.io). format.md beside this file says
  the same in words, with examples.

  Nothing in a recording carries a checksum, and damaged ones are common. So nothing here fails on damage in
  the middle of a file: where the chain of frames breaks, it ends. To go on behind the damage, look for the next
  `00 00 00 02` that opens a well-formed header of an I-frame, and read a `record` there. `kmr frames` does that.

  Texts are bytes up to their NUL, as a rule UTF-8.
doc-ref: format.md
seq:
  - id: header
    type: file_header
  - id: records
    type: record
    repeat: until
    repeat-until: _io.eof or not _.is_frame
    if: not _io.eof
    doc: |
      The frames in the order of recording. The last record is the one that is none: the head of the index, in
      an unfinished recording whatever stands behind its frames, in a damaged one the damage. A file may also
      end with a frame.
instances:
  trailer:
    pos: _io.size - 8
    type: index_trailer
    if: _io.size >= 8
  has_trailer:
    value: _io.size >= 8 and trailer.magic == 0x0123abcd and trailer.len_index >= 52 and trailer.len_index <= _io.size
    doc: Without it there is no usable index, whatever else in the file may look like one.
  index:
    pos: _io.size - trailer.len_index
    size: trailer.len_index
    type: index_block
    if: has_trailer
    doc: Written when the recording is finished. To be used only when `is_sound`.
types:
  file_header:
    doc: Not valid with a frame rate above 60, or with a picture of a size that no recorder makes (see format.md).
    seq:
      - id: frame_rate
        -orig-id: FrameRate
        type: u2
        doc: Frames per second; 0 is read as 25.
      - id: width
        -orig-id: Width
        type: u2
      - id: height
        -orig-id: Height
        type: u2
      - id: mode
        -orig-id: Mode
        type: u2
        doc: '21, 22, 23: H.264; 41: MJPEG; any other is shown as H.264.'
      - id: audio
        -orig-id: bAudio
        type: u2
        doc: '0: no audio.'
      - id: start
        type: local_time
        doc: Start of the recording.
      - id: cover_mask
        -orig-id: CoverMask
        type: u2
        doc: Privacy-cover mask; only shown.
      - id: cover_word
        -orig-id: cCovWord
        size: 36
        terminator: 0
        doc: Cover text; only shown.
      - id: frame_no_diff
        -orig-id: m_uiFrameNoDiff
        type: u4
        doc: Frame-number difference; only shown.
      - id: trigger_high
        -orig-id: TriggerHigh
        type: u4
        doc: Trigger bits, high word; only shown.
      - id: trigger_low
        -orig-id: TriggerLow
        type: u4
        doc: Trigger bits, low word.
      - id: reserved
        type: u2
      - id: audio_channels
        -orig-id: AChannels
        type: u1
      - id: audio_bits
        -orig-id: BitsPerSample
        type: u1
        doc: Bits per sample.
      - id: audio_rate
        -orig-id: AudioSample
        type: u4
        doc: Samples per second.
      - id: total_size
        -orig-id: TotalSize
        type: u4
        doc: Recorded size in bytes.
      - id: frame_count
        -orig-id: FrameCount
        type: u4
        doc: Number of frames.
  local_time:
    doc: Local time of the recorder.
    seq:
      - id: year
        -orig-id: Year
        type: u2
      - id: month
        -orig-id: Month
        type: u2
      - id: day
        -orig-id: Day
        type: u2
      - id: hour
        -orig-id: Hour
        type: u2
      - id: minute
        -orig-id: Minute
        type: u2
      - id: second
        -orig-id: Second
        type: u2
  record:
    doc: What stands where a frame is expected.
    seq:
      - size: 0
        if: offset >= 0
        doc: Has the offset taken before anything is read.
      - id: header
        type: frame_header
        if: available >= 32
      - id: video
        size: header.len_video
        type: video_data
        if: is_frame
      - id: audio
        size: header.len_audio_frame
        repeat: expr
        repeat-expr: header.num_audio_frames
        if: is_frame
    instances:
      offset:
        value: _io.pos
        doc: Of the header in the file.
      available:
        value: _io.size - offset
      is_frame:
        value: >-
          available >= 32 and header.len_frame <= available
          and (header.frame_class == frame_class::ordinary or header.frame_class == frame_class::inserted)
        doc: An ordinary or inserted frame, all of which is there. The next record stands behind it.
  frame_header:
    seq:
      - id: sync
        type: u4
        doc: 0x02000000.
      - id: len_frame
        -orig-id: FrameSize
        type: u4
        doc: Bytes of the whole frame, this header included.
      - id: kind
        type: u4
        doc: See `is_i_frame`.
      - id: number
        -orig-id: FrameNo
        type: u4
        doc: Rises by 1 from frame to frame. In the head of the index the number of tagged records, at most 64.
      - id: stamp
        -orig-id: TimeStamp
        type: u4
        doc: Milliseconds, wrapping.
      - id: len_video
        -orig-id: VideoSize
        type: u4
        doc: Bytes of video data.
      - id: num_audio_frames
        -orig-id: AFrameNum
        type: u2
      - id: len_audio_frame
        -orig-id: AFrameSize
        type: u2
        doc: Bytes of one audio frame.
      - id: unused
        type: u2
        doc: Not interpreted.
      - id: tag
        type: u2
        doc: '0x7788: inserted frame; otherwise flags, of which the two lowest say 2 for encrypted data.'
    instances:
      is_i_frame:
        value: (kind & 0xff) == 0
        doc: Any other low byte makes a P-frame.
      is_encrypted:
        value: tag != 0x7788 and (tag & 3) == 2
      lengths_agree:
        value: len_frame == 32 + len_video + num_audio_frames * len_audio_frame
        doc: To be worked out in 64 bits, since a sum beyond 32 bits agrees with nothing.
      frame_class:
        enum: frame_class
        value: >-
          sync == 0 and len_frame == 0 ? 4
          : sync != 0x02000000 or len_frame > 1048576 or len_video > 1048576 ? 5
          : not lengths_agree ? 3
          : tag == 0x7788 ? 1
          : tag != 0 or num_audio_frames != 0 or len_audio_frame != 0 or stamp != 0 ? 0
          : 2
  video_data:
    doc: An Annex-B stream of H.264 or H.265, of which only the encoder's own unit at its start is looked into.
    instances:
      words:
        pos: 0
        type: marker_words
        if: _io.size >= 7
      is_h264:
        value: _io.size >= 7 and words.start_code == 1 and words.unit_h264 == 0x06f0
      is_h265:
        value: >-
          _io.size >= 7 and words.start_code == 1 and words.unit_h264 == 0x4e01
          and words.payload_type_h265 == 0xf0
      user_data:
        pos: 'is_h265 ? 7 : 6'
        type: user_data
        if: is_h264 or is_h265
  marker_words:
    doc: '00 00 00 01 06 F0 (H.264) or 00 00 00 01 4E 01 F0 (H.265): start code, SEI, payload type 0xF0.'
    seq:
      - id: start_code
        type: u4be
      - id: unit_h264
        type: u2be
      - id: payload_type_h265
        type: u1
  user_data:
    doc: |
      User data that the video data begins with. Readers that search it find an H.264 marker anywhere in the
      first 1024 bytes as well, once a frame begins with either marker.
    seq:
      - id: size_bytes
        type: u1
        repeat: until
        repeat-until: _ != 0xff or size_bytes.size == 5
      - id: block
        size-eos: true
        type: user_data_block(len_block)
        process: kmr_unescape(len_block)
        if: len_block >= 8 and len_block <= 1024 and len_block <= _io.size - _io.pos
        doc: |
          `kmr_unescape(size)` is for the program that uses the parser to bring along: it drops the 03 of every
          00 00 03, goes on behind it, and ends when it has `size` bytes. What it is given goes on behind the
          block, whose length on disk counts the dropped bytes; where that is not enough, zeros follow.
    instances:
      len_block:
        value: (size_bytes.size - 1) * 255 + size_bytes.last
        doc: As it stands on disk, escapes included.
  user_data_block:
    params:
      - id: len_block
        type: u4
    seq:
      - id: magic
        size: 4
        doc: ZNST
      - id: num_segments
        type: u2
      - id: len_segments
        type: u2
      - id: segments
        type: segment
        repeat: until
        repeat-until: segments.size == num_segments or not _.is_inside or not _.is_known
        if: is_sound and num_segments > 0
        doc: Nothing behind a segment that runs past the block or is of an unknown kind can be trusted.
    instances:
      is_sound:
        value: magic == [0x5a, 0x4e, 0x53, 0x54] and len_segments + 8 == len_block
  segment:
    seq:
      - size: 0
        if: available >= 0
        doc: Has the space taken before anything is read.
      - id: flag
        type: u2
        enum: segment_flag
        if: available >= 4
      - id: len_payload
        type: u2
        if: available >= 4
      - id: payload
        size: len_payload
        type:
          switch-on: flag
          cases:
            segment_flag::vca_size: vca_size
            segment_flag::vca_target: vca_target
        if: is_inside
        doc: Where it is no number, text or what the encoder knows to read.
    instances:
      available:
        value: _io.size - _io.pos
      is_inside:
        value: available >= 4 and len_payload <= available - 4
      is_known:
        value: >-
          available >= 4 and (flag == segment_flag::user_define
          or flag.to_i >= segment_flag::osd.to_i and flag.to_i <= segment_flag::vca_target.to_i)
  vca_size:
    doc: Size of the picture that analytics refer to.
    seq:
      - id: width
        type: u4
        if: _io.size >= 8
      - id: height
        type: u4
        if: _io.size >= 8
  vca_target:
    doc: Analytics target; each of the two values is one above what is shown.
    seq:
      - id: first
        type: u2
        if: _io.size >= 4
      - id: second
        type: u2
        if: _io.size >= 4
      - id: rest
        size-eos: true
  index_block:
    doc: One record per I-frame.
    seq:
      - id: header
        type: frame_header
        doc: Looks like a frame's, so that a walk over the frames arrives at the block.
      - id: num_records
        type: u4
      - id: len_record
        type: u4
        doc: '80; a reader takes the first 80 bytes of a longer one.'
      - id: capacity
        -orig-id: Memory Num
        type: u4
        doc: Of the writer's array of records; only shown.
      - id: records
        size: len_record
        type: index_record
        repeat: expr
        repeat-expr: num_records
        if: is_sound
    instances:
      is_sound:
        value: >-
          header.sync == 0x02000000 and header.len_frame == _io.size and len_record >= 80
          and num_records <= (_io.size - 52) / len_record and num_records * len_record == _io.size - 52
  index_record:
    seq:
      - id: time
        -orig-id: TimeNow
        type: u4
        doc: Seconds since 1970-01-01 UTC.
      - id: offset
        -orig-id: IPos
        type: u4
        doc: Of the header of the I-frame in the file.
      - id: sign
        -orig-id: Sign
        type: s4
        doc: Marker word; only shown; 0 as written.
      - id: width
        -orig-id: VideoSize(W)
        type: u2
      - id: height
        -orig-id: VideoSize(H)
        type: u2
      - id: tag
        -orig-id: TagName
        size: 64
        terminator: 0
        doc: 'Empty: no tag.'
  index_trailer:
    doc: The last 8 bytes of a finished recording.
    seq:
      - id: magic
        type: u4
        doc: 0x0123abcd.
      - id: len_index
        type: u4
        doc: Bytes of the whole index, this trailer included.
enums:
  frame_class:
    0: ordinary
    1: inserted
    2:
      id: index_head
      doc: An ordinary frame at time 0 without audio and tag looks the same.
    3:
      id: damaged
      doc: Lengths that contradict each other.
    4:
      id: never_written
      doc: Shown as -2.
    5:
      id: no_header
      doc: Shown as -1.
  segment_flag:
    0x0001: user_define
    0xfed1:
      id: osd
      doc: On-screen text.
    0xfed2:
      id: vca
      doc: Analytics.
    0xfed3: frametime
    0xfed4: gps
    0xfed5:
      id: plate
      doc: Number plate.
    0xfed6: audio
    0xfed7: vca_size
    0xfed8: vca_vi
    0xfed9: vca_target
