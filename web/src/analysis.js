// Analysis of the position on the board: lines, bar, arrows, the evaluation by term.
import { winningChances } from "./chances.js";
import { byId, el, moveButton, plain } from "./dom.js";
import { legalMoves, moveNumber, passed, playLine, sideToMove } from "./position.js";
import { countText, readEvaluation, readInfo, scoreText } from "./uci.js";

const LONGEST_LINE = 16; // plies shown
const DRAW_EVERY = 200; // milliseconds
const THREAT_SEARCH = "go movetime 150";

// What a game may have set: neither books nor weakness have a place in analysis.
export const PLAIN = { UCI_LimitStrength: false, OwnBook: false };

export class Analysis {
    #lines = [];
    #turn = 0; // of restart(), to see that another has come
    #timer = 0;

    constructor(app) {
        this.app = app;
        this.on = false;
        this.suspended = false; // while a game is played or gone through
        byId("analyse").addEventListener("click", () => this.toggle());
        byId("lines").addEventListener("change", () => this.restart());
        for (const id of ["show-best", "show-threat"]) byId(id).addEventListener("change", () => this.restart());
        byId("terms").addEventListener("toggle", () => byId("terms").open && this.restart());
        app.game.addEventListener("change", () => this.restart());
    }

    toggle(on = !this.on) {
        this.on = on;
        byId("analyse").setAttribute("aria-pressed", String(on));
        byId("analyse").textContent = on ? "Stop" : "Analyse";
        if (on) this.restart();
        else this.app.session?.stop();
    }

    // Ends what is on, whatever it is, for somebody else to use the engine.
    suspend(suspended) {
        this.suspended = suspended;
        byId("analyse").disabled = suspended;
        if (suspended) this.toggle(false);
        this.clear();
    }

    clear() {
        this.#lines = [];
        this.app.board.setArrows(null, null);
        byId("lines-list").replaceChildren();
        byId("search-state").textContent = "\u00a0";
    }

    async restart() {
        const { game, session, board } = this.app;
        if (!session || this.suspended) return;
        const turn = ++this.#turn;
        session.stop();
        this.clear();
        const fen = game.fen;
        const ply = game.ply;
        const count = legalMoves(fen).length;
        this.threat = null;
        if (byId("terms").open) this.#showTerms(await session.ask([game.positionCommand(), "eval"]));
        if (!this.on || turn !== this.#turn) return;
        if (!count) {
            byId("search-state").textContent = game.standing().text;
            return;
        }
        const turned = byId("show-threat").checked ? passed(fen) : null;
        if (turned && legalMoves(turned).length) {
            const found = await session.search({
                commands: [`position fen ${turned}`],
                go: THREAT_SEARCH,
                options: { ...PLAIN, MultiPV: 1 },
            });
            if (turn !== this.#turn || found.ended) return;
            this.threat = found.move;
            board.setArrows(null, this.threat);
        }
        const wanted = Math.min(Number(byId("lines").value), count);
        session.search({
            commands: [game.positionCommand()],
            go: "go infinite",
            options: { ...PLAIN, MultiPV: wanted },
            onInfo: (line) => turn === this.#turn && this.#hear(line, fen, ply),
        });
    }

    #hear(line, fen, ply) {
        if (line.startsWith("info string cannot")) byId("search-state").textContent = plain(line.slice(12));
        else this.#take(readInfo(line), fen, ply);
    }

    #take(info, fen, ply) {
        if (!info) return;
        this.#lines[info.multipv - 1] = { ...info, fen, ply };
        if (this.#timer) return;
        this.#timer = setTimeout(() => {
            this.#timer = 0;
            if (this.on && this.#lines.length) this.#draw();
        }, DRAW_EVERY);
    }

    #draw() {
        const lines = this.#lines.filter(Boolean);
        if (!lines.length) return;
        const best = lines[0];
        const total = Math.max(...lines.map((line) => line.nodes));
        byId("search-state").textContent =
            `Depth ${best.depth}/${best.seldepth}, ${countText(total)} nodes, ${countText(best.nps)} nodes/s` +
            (best.tbhits ? `, ${countText(best.tbhits)} table hits` : "");
        byId("lines-list").replaceChildren(...lines.map((line) => this.#lineItem(line)));
        showScore(this.app, sideToMove(best.fen) === "w" ? best.score : -best.score);
        this.app.board.setArrows(byId("show-best").checked ? best.pv[0] : null, this.threat);
    }

    #lineItem(line) {
        const { game } = this.app;
        const moves = playLine(line.fen, line.pv.slice(0, LONGEST_LINE));
        const texts = moves.map((move) => move.uci);
        const parts = moves.map((move, i) => {
            const number = moveNumber(game.startFen, line.ply + i);
            const go = () => game.fen === line.fen && game.tryLine(line.ply, texts, i);
            return moveButton(move.san, i === 0 || !number.endsWith("...") ? number : null, go).part;
        });
        const score = sideToMove(line.fen) === "w" ? line.score : -line.score;
        const text = line.bound + scoreText(score);
        return el("li", {}, el("span", { class: "score", text }), el("span", { class: "line" }, ...parts));
    }

    #showTerms(lines) {
        const { summary, terms } = readEvaluation(lines);
        const head = ["Term", "White", "Black", "Difference"].map((text) => el("th", { scope: "col", text }));
        const rows = terms.map((term) =>
            el("tr", {}, ...[term.name, term.white, term.black, term.difference].map((text) => el("td", { text }))),
        );
        const names = {
            eval: "Evaluation",
            qscore: "after captures",
            stage: "stage",
            draw_adj: "share kept near a draw",
        };
        const text = summary.map(([name, value]) => `${names[name] ?? name} ${value}`).join(", ");
        const table = el("table", {}, el("thead", {}, el("tr", {}, ...head)), el("tbody", {}, ...rows));
        byId("terms")
            .querySelector("div")
            .replaceChildren(
                el("p", { class: "figures", text: `${text}, from the view of the side to move; centipawns` }),
                table,
            );
    }
}

// Sets the bar. `score`: from White's view; null: none is known.
export function showScore(app, score) {
    const bar = byId("eval-bar");
    const chances = winningChances(score ?? 0);
    bar.classList.toggle("flipped", app.board.orientation === "b");
    bar.firstElementChild.style.height = `${chances.toFixed(1)}%`;
    const text = bar.lastElementChild;
    text.textContent = score === null ? "" : scoreText(score);
    text.classList.toggle("behind", chances < 50);
    const label =
        score === null
            ? "No evaluation yet"
            : `Evaluation ${scoreText(score)}, White's chances ${chances.toFixed(0)} percent`;
    bar.setAttribute("aria-label", label);
}
