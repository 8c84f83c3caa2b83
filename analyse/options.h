/* The option word: one bit per option of the command line. It decides how much the analysis prints. */
#ifndef KMR_OPTIONS_H
#define KMR_OPTIONS_H

enum kmr_option {
    KMR_OPTION_SAMPLE = 0x01,         /* -s  file header report alone */
    KMR_OPTION_ALL = 0x02,            /* -a  file header, every frame, index detail */
    KMR_OPTION_I_FRAMES = 0x04,       /* -i  frame table of I-frames */
    KMR_OPTION_INDEX = 0x10,          /* -t  index detail */
    KMR_OPTION_USER_DATA = 0x20,      /* -u  user data of the frames */
    KMR_OPTION_MISSING_FRAMES = 0x40, /* -m  rows of frames behind a gap */
    KMR_OPTION_EXPORT = 0x80,         /* -o  copy instead of analysis */
};

#endif
