// The engine's own thread: loads one build, feeds it what the page sends, and sends back what it prints. A classic
// script, as the compiler's start-up code wants it.
"use strict";

const FILES = "/files"; // where the engine finds and leaves its files

let engine = null;
let waiting = []; // messages from before the engine was loaded
const utf8 = new TextEncoder();

// Hands text over as bytes in the engine's memory, which may move when it grows.
function input(text) {
    const bytes = utf8.encode(text);
    const at = engine._malloc(bytes.length);
    if (at === 0) throw new Error("no memory left for input");
    engine.HEAPU8.set(bytes, at);
    engine._dral_input(at, bytes.length);
    engine._free(at);
}

// A File stays where it is and is read when the engine asks for its bytes; an array becomes a file in memory.
function addFile({ file, name, content }) {
    const { FS } = engine;
    const path = `${FILES}/${name}`;
    try {
        if (FS.analyzePath(path).exists) FS.unlink(path);
        if (content instanceof Uint8Array) {
            FS.writeFile(path, content);
        } else {
            const folder = `/mounted/${file}`;
            FS.mkdirTree(folder);
            FS.mount(FS.filesystems.WORKERFS, { blobs: [{ name, data: content }] }, folder);
            FS.symlink(`${folder}/${name}`, path);
        }
        postMessage({ file, path });
    } catch (reason) {
        postMessage({ file, reason: `cannot take the file ${name}: ${reason.message || reason}` });
    }
}

function obey(data) {
    if (data.line !== undefined) input(`${data.line}\n`);
    else addFile(data);
    if (wake) wake();
}

// The build without threads rests here, in the worker's loop of events: for at most so many milliseconds, or at 0 until
// the messages that are there have been taken. Browsers let messages to oneself overtake those from the page, and delay
// timers that timers set: a timer that is set when a message to oneself arrives does neither.
let wake = null;
const channel = new MessageChannel();
channel.port1.onmessage = () => setTimeout(() => wake && wake(), 0);

function rest(ms) {
    return new Promise((resolve) => {
        let timer = 0;
        wake = () => {
            clearTimeout(timer);
            wake = null;
            resolve();
        };
        if (ms > 0) timer = setTimeout(wake, ms);
        else channel.port2.postMessage(0);
    });
}

async function start({ base, build, args }) {
    // Fails where no memory may be shared, before anything has been loaded.
    if (build === "threads") new SharedArrayBuffer(1);
    const script = `${base}build/${build}.js`;
    importScripts(script);
    engine = await createModule({
        mainScriptUrlOrBlob: script,
        locateFile: (name) => `${base}build/${name}`,
        noInitialRun: true,
        rest,
        print: (line) => postMessage({ line }),
        printErr: (error) => postMessage({ error }),
        onAbort: (reason) => fail(reason),
        onExit: () => postMessage({ ended: true }),
    });
    engine.FS.mkdirTree(FILES);
    engine.FS.chdir(FILES);
    postMessage({ loaded: true });
    engine.callMain(args);
    for (const data of waiting) obey(data);
    waiting = null;
}

function fail(reason) {
    postMessage({ failed: String((reason && reason.message) || reason) });
}

self.addEventListener("error", (event) => fail(event.message));
self.addEventListener("unhandledrejection", (event) => fail(event.reason));

self.onmessage = ({ data }) => {
    if (data.build !== undefined) start(data).catch(fail);
    else if (waiting) waiting.push(data);
    else obey(data);
};
