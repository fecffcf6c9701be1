// One engine, used in turn. What is asked of it is done one thing at a time; a new search ends the one before it; and
// no line of one search is taken for another's: a search begins behind "readyok", when nothing of earlier ones is to
// come, and ends with its "bestmove".

const isReady = (line) => line === "readyok";

export class EngineSession {
    #dral;
    #tail = Promise.resolve();
    #listen = null; // of the turn that is on
    #searches = new Set(); // waiting or running
    #options = new Map(); // as the engine has them
    #wanted = new Map();

    constructor(dral) {
        this.#dral = dral;
        dral.onLine = (line) => this.#listen?.(line);
    }

    get threads() {
        return this.#dral.threads;
    }

    addFile(name, file) {
        return this.#dral.addFile(name, file);
    }

    #turn(work) {
        const done = this.#tail.then(work);
        this.#tail = done.catch(() => {});
        return done;
    }

    // Sends commands and gives the lines up to the one that ends the answer.
    #exchange(commands, isLast) {
        return new Promise((resolve) => {
            const lines = [];
            this.#listen = (line) => {
                lines.push(line);
                if (!isLast(line)) return;
                this.#listen = null;
                resolve(lines);
            };
            for (const command of commands) this.#dral.send(command);
        });
    }

    // Options for all searches and questions that begin from now on.
    setOptions(options) {
        for (const [name, value] of Object.entries(options)) this.#wanted.set(name, String(value));
    }

    #optionCommands(own = {}) {
        const commands = [];
        const all = new Map([...this.#wanted, ...Object.entries(own).map(([name, value]) => [name, String(value)])]);
        for (const [name, value] of all) {
            if (this.#options.get(name) === value) continue;
            commands.push(`setoption name ${name} value ${value}`);
            this.#options.set(name, value);
        }
        return commands;
    }

    // Ends the search that is on and those that wait. What is asked afterwards finds the engine idle.
    stop() {
        for (const search of this.#searches) {
            search.ended = true;
            if (search.running) this.#dral.send("stop");
            search.running = false; // told once
        }
    }

    // `commands` before "go": a position, at least. `options` are set before them. Resolves, when the search has ended,
    // to { move, ponder, ended }; `ended`: by stop() or another search, perhaps before it began, and `move` is then
    // null.
    search({ commands, go, options, onInfo = () => {} }) {
        this.stop();
        const search = { ended: false, running: false };
        this.#searches.add(search);
        return this.#turn(async () => {
            try {
                if (search.ended) return { move: null, ponder: null, ended: true };
                await this.#exchange([...this.#optionCommands(options), ...commands, "isready"], isReady);
                if (search.ended) return { move: null, ponder: null, ended: true };
                search.running = true;
                const lines = await this.#follow(go, (line) => !search.ended && onInfo(line));
                const [, move, , ponder] = lines.split(" ");
                return { move: search.ended ? null : move, ponder: ponder ?? null, ended: search.ended };
            } finally {
                this.#searches.delete(search);
            }
        });
    }

    #follow(go, onInfo) {
        return new Promise((resolve) => {
            this.#listen = (line) => {
                if (line.startsWith("info ")) onInfo(line);
                if (!line.startsWith("bestmove")) return;
                this.#listen = null;
                resolve(line);
            };
            this.#dral.send(go);
        });
    }

    // Asks something that is answered at once, and gives the lines of the answer. It waits for a search: stop() first,
    // where that has no end.
    ask(commands) {
        return this.#turn(async () => {
            const setting = [...this.#optionCommands(), "isready"];
            await this.#exchange(setting, isReady);
            const lines = await this.#exchange([...commands, "isready"], isReady);
            return lines.slice(0, -1);
        });
    }
}
