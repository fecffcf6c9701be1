// Making elements. What comes from files and engines is only ever set as text, never as markup.

// `props`: `text`, `on` (event handlers by name), `data` (data attributes), and attributes by name; null ones are left
// out.
export function el(tag, props = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(props)) {
        if (value === null || value === undefined || value === false) continue;
        if (name === "text") node.textContent = value;
        else if (name === "on")
            for (const [type, handler] of Object.entries(value)) node.addEventListener(type, handler);
        else if (name === "data") Object.assign(node.dataset, value);
        else node.setAttribute(name, value === true ? "" : value);
    }
    node.append(...children.filter((child) => child !== null && child !== undefined));
    return node;
}

// A move to click, with its number before it where one is wanted; never broken between the two. Gives { part, button }.
export function moveButton(text, number, go, props = {}) {
    const button = el("button", { type: "button", class: "move", text, on: { click: go }, ...props });
    return {
        button,
        part: number ? el("span", { class: "pair" }, el("span", { class: "number", text: number }), button) : button,
    };
}

export const byId = (id) => document.getElementById(id);

const LONGEST_SHOWN = 400;

// Text from outside, made fit to be shown: of bounded length, control characters and those that turn the writing
// direction made visible.
export function plain(text, longest = LONGEST_SHOWN) {
    const cut = text.length > longest ? text.slice(0, longest) + "\u2026" : text;
    return cut
        .replace(/[\u0000-\u001f]/g, (c) =>
            c === "\n" || c === "\t" ? " " : String.fromCharCode(0x2400 + c.charCodeAt(0)),
        )
        .replace(/[\u007f-\u009f\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, "\ufffd");
}

let toastTimer = 0;

// One line for the person, also read out. It goes after a while.
export function tell(text) {
    const line = byId("message");
    line.textContent = plain(text);
    line.classList.add("shown");
    clearTimeout(toastTimer);
    toastTimer = setTimeout(() => line.classList.remove("shown"), 6000);
}

export function download(name, text) {
    const url = URL.createObjectURL(new Blob([text], { type: "text/plain" }));
    el("a", { href: url, download: name }).click();
    setTimeout(() => URL.revokeObjectURL(url), 1000);
}

export async function copy(text, what) {
    try {
        await navigator.clipboard.writeText(text);
        tell(`${what} copied`);
    } catch {
        tell(`${what} could not be copied: the browser does not allow it`);
    }
}
