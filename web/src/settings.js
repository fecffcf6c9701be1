// The engine's settings that a person changes here, and files of their own for it.
import { byId, plain, tell } from "./dom.js";

const THEMES = ["auto", "light", "dark"];

function remembered(key) {
    try {
        return localStorage.getItem(key);
    } catch {
        return null; // a page may be denied its storage
    }
}

function remember(key, value) {
    try {
        localStorage.setItem(key, value);
    } catch {
        // it lasts as long as the page, then
    }
}

export function initTheme() {
    const button = byId("theme");
    const apply = (theme) => {
        if (theme === "auto") delete document.documentElement.dataset.theme;
        else document.documentElement.dataset.theme = theme;
        button.textContent = { auto: "Auto", light: "Light", dark: "Dark" }[theme];
        button.setAttribute("aria-label", `Colours: ${theme}`);
        dispatchEvent(new Event("themechange"));
    };
    let theme = THEMES.includes(remembered("theme")) ? remembered("theme") : "auto";
    apply(theme);
    button.addEventListener("click", () => {
        theme = THEMES[(THEMES.indexOf(theme) + 1) % THEMES.length];
        remember("theme", theme);
        apply(theme);
    });
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () =>
        dispatchEvent(new Event("themechange")),
    );
}

// Syzygy files are many; the engine is told the folder that they are in.
const folderOf = (path) => path.slice(0, path.lastIndexOf("/")) || "/";

export function initEngineSettings(app) {
    const { session, analysis } = app;
    const most = session.threads ? Math.max(navigator.hardwareConcurrency ?? 1, 1) : 1;
    const threads = byId("threads");
    for (let i = 1; i <= Math.min(most, 16); ++i) threads.add(new Option(String(i)));
    threads.value = "1";
    threads.disabled = most === 1;
    const set = (options) => {
        session.setOptions(options);
        analysis.restart();
    };
    session.setOptions({ Hash: byId("hash").value });
    byId("hash").addEventListener("change", () => set({ Hash: byId("hash").value }));
    threads.addEventListener("change", () => set({ Threads: threads.value }));
    const told = (text) => (byId("own-files").textContent = plain(text));
    const take = async (input, use) => {
        const files = [...input.files];
        if (!files.length) return;
        try {
            session.stop();
            const paths = [];
            for (const file of files) paths.push(await session.addFile(file.name, file));
            use(paths, files);
        } catch {
            tell("The engine cannot take the file");
        }
    };
    byId("book-file").addEventListener("change", (event) =>
        take(event.target, ([path], [file]) => {
            app.hasBook = true;
            set({ OwnBook_File: path });
            told(`Book: ${file.name}. Dral plays from it in games.`);
        }),
    );
    byId("table-files").addEventListener("change", (event) =>
        take(event.target, ([path], files) => {
            set({ SyzygyPath: folderOf(path) });
            told(`Tables: ${files.length} files. They stay on this machine.`);
        }),
    );
}
