// The moves of the game as text that is clicked: marks, comments, lines beside it.
import { byId, el, moveButton, plain } from "./dom.js";
import { moveNumber } from "./position.js";

const SIGNS = { 1: "!", 2: "?", 3: "!!", 4: "??", 5: "!?", 6: "?!" };
const NAMES = { 1: "good", 2: "mistake", 3: "brilliant", 4: "blunder", 5: "interesting", 6: "inaccuracy" };
const LONGEST_COMMENT = 1000;

// What programs write for programs is left out: scores, depths, seconds.
const forPeople = (comment) =>
    comment
        .replace(/\[%\w+[^\]]*\]/g, " ")
        .replace(/(^|\s)[+-]?M?\d[\d.]*\/\d+(\s+[\d.]+s)?(?=[\s,]|$)/g, " ")
        .replace(/\s+/g, " ")
        .replace(/^[\s,]+/, "")
        .trim();

export class MovesView {
    constructor(game) {
        this.game = game;
        this.element = byId("moves");
        this.buttons = [];
        game.addEventListener("change", (event) => this.#update(event.detail.reason));
        byId("leave-line").addEventListener("click", () => game.leaveLine());
    }

    #update(reason) {
        if (reason !== "step" || this.buttons.length !== this.game.path.length || this.drawnSide !== this.game.side)
            this.draw();
        this.#showPlace();
    }

    #showPlace() {
        const { ply } = this.game;
        byId("line-note").hidden = !this.game.side;
        this.element.querySelector("[aria-current]")?.removeAttribute("aria-current");
        const current = this.buttons[ply - 1];
        if (!current) return;
        current.setAttribute("aria-current", "true");
        const box = this.element.getBoundingClientRect();
        const place = current.getBoundingClientRect();
        if (place.top < box.top || place.bottom > box.bottom)
            this.element.scrollTop += place.top - box.top - box.height / 2;
    }

    // `go`: what a click does.
    #move(move, number, go) {
        const glyph = move.nags.find((nag) => SIGNS[nag]);
        const text = move.san + (SIGNS[glyph] ?? "");
        const label = glyph ? `${move.san}, ${NAMES[glyph]}` : null;
        return moveButton(text, number, go, { class: `move mark-${glyph ?? 0}`, "aria-label": label });
    }

    #comment(text) {
        const shown = forPeople(text);
        return shown ? [el("span", { class: "comment", text: plain(shown, LONGEST_COMMENT) })] : [];
    }

    #variation(moves, ply) {
        const start = this.game.startFen;
        const texts = moves.map((move) => move.uci);
        const parts = moves.flatMap((move, i) => {
            const number = moveNumber(start, ply + i);
            const shown = i === 0 || !number.endsWith("...") ? number : null;
            const go = () => {
                this.game.goToMain(ply);
                this.game.tryLine(ply, texts, i);
            };
            return [this.#move(move, shown, go).part, ...this.#comment(move.comment)];
        });
        return moves.length ? [el("span", { class: "variation" }, ...parts)] : [];
    }

    #line(moves, from, register, out) {
        let broken = true;
        moves.forEach((move, i) => {
            const ply = from + i;
            const number = moveNumber(this.game.startFen, ply);
            const shown = broken || !number.endsWith("...") ? number : null;
            const { part, button } = this.#move(move, shown, () => register(ply));
            if (register.keeps(ply)) this.buttons[ply] = button;
            const notes = [
                ...this.#comment(move.comment),
                ...move.variations.flatMap((line) => this.#variation(line, ply)),
            ];
            out.push(part, ...notes);
            if (this.game.side?.from === ply && register.main) out.push(this.#sideLine());
            broken = notes.length > 0 || (register.main && this.game.side?.from === ply);
        });
    }

    #sideLine() {
        const out = [];
        const go = Object.assign((ply) => this.game.goTo(ply + 1), { keeps: () => true, main: false });
        this.#line(this.game.side.moves, this.game.side.from, go, out);
        return el("span", { class: "variation" }, ...out);
    }

    draw() {
        const { game } = this;
        this.buttons = [];
        this.drawnSide = game.side;
        const out = this.#comment(game.comment);
        const from = game.side?.from ?? Infinity;
        const go = (ply) => (ply < from ? game.goTo(ply + 1) : game.goToMain(ply + 1));
        this.#line(game.moves, 0, Object.assign(go, { keeps: (ply) => ply < from, main: true }), out);
        if (game.side && game.side.from >= game.moves.length) out.push(this.#sideLine());
        if (game.moves.length && game.result !== "*") out.push(el("span", { class: "number", text: game.result }));
        this.element.replaceChildren(...out);
    }
}
