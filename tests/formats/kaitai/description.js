// Compiles docs/kmr.ksy in memory and brings along what a user of its parser has to.
"use strict";
const fs = require("fs");
const path = require("path");
const compiler = require("kaitai-struct-compiler");
const KaitaiStream = require("kaitai-struct/KaitaiStream");
const yaml = require("yaml");

class KmrUnescape {
    constructor(size) { this.size = size; }

    decode(escaped) {
        const plain = new Uint8Array(this.size); // zeros behind what is there
        let zeros = 0;
        let length = 0;
        for (const byte of escaped) {
            if (length === this.size)
                break;
            if (zeros >= 2 && byte === 3) {
                zeros = 0;
                continue;
            }
            zeros = byte === 0 ? zeros + 1 : 0;
            plain[length++] = byte;
        }
        return plain;
    }
}

async function load() {
    const text = fs.readFileSync(path.join(__dirname, "../../../docs/kmr.ksy"), "utf8");
    const files = await compiler.compile("javascript", yaml.parse(text), null, false);
    const needed = {"kaitai-struct/KaitaiStream": KaitaiStream, KmrUnescape: {KmrUnescape}};
    const parser = {};
    new Function("exports", "require", files["Kmr.js"])(parser, (name) => needed[name]);
    return parser.Kmr;
}

module.exports = {
    load,
    KaitaiStream
};
