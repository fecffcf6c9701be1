// The engine in a worker, spoken to in UCI lines. dral.d.ts says what each part promises.

// A build that answers nothing for so long after it has been loaded does not work here; milliseconds.
const START_LIMIT = 20000;

class Dral {
    #worker;
    #listener = null;
    #early = []; // lines from before anybody listened
    #files = new Map(); // promises of those on their way
    #nextFile = 0;

    constructor(worker, threads) {
        this.#worker = worker;
        this.threads = threads;
        this.onError = (message) => console.error(`dral: ${message}`);
        this.onEnd = () => {};
    }

    get onLine() {
        return this.#listener;
    }

    set onLine(listener) {
        this.#listener = listener;
        while (this.#listener && this.#early.length > 0) this.#listener(this.#early.shift());
    }

    send(line) {
        // What comes from outside brings no second command with it.
        this.#worker?.postMessage({ line: String(line).replace(/[\r\n\0]+/g, " ") });
    }

    addFile(name, content) {
        const plain = String(name).split(/[/\\]/).pop();
        if (["", ".", ".."].includes(plain)) return Promise.reject(new Error("no file name"));
        if (!this.#worker) return Promise.reject(new Error("the engine has ended"));
        const id = ++this.#nextFile;
        return new Promise((resolve, reject) => {
            this.#files.set(id, { resolve, reject });
            this.#worker.postMessage({ file: id, name: plain, content });
        });
    }

    quit() {
        if (!this.#worker) return;
        this.#worker.terminate();
        this.#worker = null;
        for (const { reject } of this.#files.values()) reject(new Error("the engine has ended"));
        this.#files.clear();
        this.onEnd();
    }

    // What the worker sends.
    static take(dral, data) {
        if (data.line !== undefined) {
            if (dral.#listener) dral.#listener(data.line);
            else dral.#early.push(data.line);
        } else if (data.file !== undefined) {
            const { resolve, reject } = dral.#files.get(data.file);
            dral.#files.delete(data.file);
            if (data.path) resolve(data.path);
            else reject(new Error(data.reason));
        } else if (data.error !== undefined) {
            dral.onError(data.error);
        } else if (data.failed !== undefined) {
            dral.onError(data.failed);
            dral.quit();
        } else if (data.ended) {
            dral.quit();
        }
    }
}

// Starts one build. Rejects when it does not come as far as its first line.
function start(build, base, args) {
    return new Promise((resolve, reject) => {
        const worker = new Worker(new URL("worker.js", base));
        let dral = null;
        let clock = 0;
        const fail = (reason) => {
            clearTimeout(clock);
            worker.terminate();
            reject(new Error(`the ${build} build does not start: ${reason}`));
        };
        worker.onmessage = ({ data }) => {
            if (!dral && data.failed !== undefined) return fail(data.failed);
            if (!dral && data.ended) return fail("it ended at once");
            if (!dral && data.loaded) clock = setTimeout(fail, START_LIMIT, "no answer");
            if (!dral && data.line !== undefined) {
                clearTimeout(clock);
                dral = new Dral(worker, build === "threads");
                resolve(dral);
            }
            if (dral) Dral.take(dral, data);
        };
        worker.onerror = (event) => {
            const reason = event.message || "its script cannot be loaded";
            if (dral) Dral.take(dral, { failed: reason });
            else fail(reason);
        };
        worker.postMessage({ build, base: base.href, args });
    });
}

export async function createDral(options = {}) {
    const { threads = "try", base = import.meta.url, args = [] } = options;
    const folder = new URL(".", new URL(base, import.meta.url));
    if (threads === "try") {
        try {
            return await start("threads", folder, args);
        } catch {
            // Most pages are not isolated: nothing to tell anybody.
        }
    }
    return start("single", folder, args);
}
