/** How to start the engine. */
export interface DralOptions {
    /**
     * "try" (the default): search threads where the page may share memory, which is found out by starting; elsewhere,
     * and with false, the build without threads.
     */
    threads?: "try" | false;
    /** Where worker.js and build/ lie, on the page's own origin; by default beside dral.js. */
    base?: string | URL;
    /** Command line of the program, for example ["bench", "8"]; by default none: it speaks UCI. */
    args?: string[];
}

/** A running engine in a worker of its own. Calls never block the page. */
export interface Dral {
    /** Whether the build with threads runs, so that the option Threads is worth more than 1. */
    readonly threads: boolean;

    /**
     * Called with each line that the engine prints, without its line feed, in order. What it printed before somebody
     * listened is kept until then.
     */
    onLine: ((line: string) => void) | null;

    /** Called with what is wrong, for people; by default it goes to the console. */
    onError: (message: string) => void;

    /** Called once when the engine has ended: by quit(), the command "quit", the end of a tool, or a failure. */
    onEnd: () => void;

    /** Sends one line. Line breaks in it become blanks. Without effect after the end. */
    send(line: string): void;

    /**
     * Gives the engine a file. Bytes are copied; a File or Blob stays on the person's disk and is read when it is
     * needed. The name keeps its last part only; a file of the same name is replaced. Gives the path for options such
     * as OwnBook_File; all files lie in one folder, which is what SyzygyPath takes. Rejects when the name is empty or
     * the engine has ended.
     */
    addFile(name: string, content: Uint8Array | Blob): Promise<string>;

    /** Ends the engine at once and gives its memory back. */
    quit(): void;
}

/** Starts an engine. Rejects when neither build comes as far as its first line. */
export function createDral(options?: DralOptions): Promise<Dral>;
