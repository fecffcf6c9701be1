// Going through a game, as the engine's own review does: every position, from the last to the first, so that the search
// of a position knows what comes after it; then the best moves once more without themselves, to see which were the only
// ones.
import { isOnlyMove, GOOD, MATE, lostChances, markOfLoss, winningChances } from "./chances.js";
import { drawCurve } from "./curve.js";
import { byId, el, moveButton } from "./dom.js";
import { judgeGame } from "./judgement.js";
import { inCheck, legalMoves, moveNumber, playLine, sideToMove, standing } from "./position.js";
import { readInfo, scoreText } from "./uci.js";
import { PLAIN, showScore } from "./analysis.js";

const LINE_PLIES = 8;
const SHALLOWER = 3; // plies, for moves that were not played

export class Review {
    #turn = 0;

    constructor(app) {
        this.app = app;
        this.curve = null;
        this.scores = null; // from White's view, before the first move and after each; null where not known
        byId("review-start").addEventListener("click", () => (this.running ? this.cancel() : this.start()));
        app.game.addEventListener("change", (event) => this.#gameChanged(event.detail.reason));
    }

    get running() {
        return this.app.analysis.suspended && this.active === this.#turn;
    }

    #gameChanged(reason) {
        const { game } = this.app;
        if (reason === "load") {
            this.cancel();
            this.clear();
            if (!this.app.analysis.on) showScore(this.app, null);
        } else if (reason === "move" && this.moves && this.moves !== game.moves) {
            this.cancel();
            this.clear();
        }
        if (!this.curve) return;
        const ply = game.side ? Math.min(game.ply, game.side.from) : game.ply;
        this.curve.mark(ply);
        if (!game.side && !this.app.analysis.on) showScore(this.app, this.scores[ply] ?? null);
    }

    clear() {
        this.curve?.remove();
        this.curve = null;
        this.scores = null;
        this.moves = null;
        byId("review-summary").replaceChildren();
        byId("review-state").textContent = "";
    }

    cancel() {
        if (!this.running) return;
        ++this.#turn;
        this.active = -1;
        this.app.session.stop();
        this.app.analysis.suspend(false);
        byId("review-start").textContent = "Go through the game";
        byId("review-state").textContent = "Broken off";
    }

    async start() {
        const { app } = this;
        const { game } = app;
        if (!app.session || !game.moves.length || app.play.on) return;
        game.goToMain(game.side ? game.side.from : game.ply);
        app.analysis.suspend(true);
        const turn = ++this.#turn;
        this.active = turn;
        this.clear();
        this.moves = game.moves;
        byId("review-start").textContent = "Stop";
        const depth = Math.min(Math.max(Number(byId("review-depth").value) || 12, 1), 30);
        const found = await this.#searchGame(turn, depth);
        if (!found || turn !== this.#turn) return;
        this.active = -1;
        app.analysis.suspend(false);
        byId("review-start").textContent = "Go through the game";
        this.#take(found, depth);
    }

    async #search(turn, command, go) {
        let last = null;
        const onInfo = (line) => (last = readInfo(line) ?? last);
        const options = { ...PLAIN, MultiPV: 1 };
        const found = await this.app.session.search({ commands: [...command], go, options, onInfo });
        return turn === this.#turn && !found.ended && last ? { ...last, move: found.move } : null;
    }

    // { positions: [{ score, move, pv }], only: [bool] }, or null when it was ended.
    async #searchGame(turn, depth) {
        const { game } = this.app;
        const fens = [game.startFen, ...game.moves.map((move) => move.fen)];
        const positions = [];
        const progress = (done) => (byId("review-state").textContent = `${done} of ${fens.length} positions`);
        for (let i = fens.length; i-- > 0;) {
            progress(fens.length - 1 - i);
            positions[i] = this.#known(fens, i);
            if (positions[i]) continue;
            const fresh = i === fens.length - 1 || positions.slice(i + 1).every((p) => p.certain) ? ["ucinewgame"] : [];
            positions[i] = await this.#search(
                turn,
                [...fresh, game.positionCommand(i, game.moves)],
                `go depth ${depth}`,
            );
            if (!positions[i]) return null;
        }
        const only = [];
        for (let i = game.moves.length; i-- > 0;) {
            only[i] = false;
            if (positions[i].move !== game.moves[i].uci || this.#takesBack(i)) continue;
            if (!isOnlyMove(positions[i].score, -MATE)) continue;
            const others = legalMoves(fens[i])
                .map((m) => m.from + m.to + (m.promotion ?? ""))
                .filter((m) => m !== game.moves[i].uci);
            if (!others.length) continue;
            byId("review-state").textContent = `Only moves: ${game.moves.length - i} of ${game.moves.length}`;
            const go = `go depth ${Math.max(depth - SHALLOWER, 1)} searchmoves ${others.join(" ")}`;
            const second = await this.#search(turn, [game.positionCommand(i, game.moves)], go);
            if (!second) return null;
            only[i] = isOnlyMove(positions[i].score, second.score);
        }
        return { positions, only };
    }

    // What needs no search: the end of a game.
    #known(fens, i) {
        if (!legalMoves(fens[i]).length)
            return { score: inCheck(fens[i]) ? -MATE : 0, move: null, pv: [], certain: true };
        const last = i === fens.length - 1;
        return last && standing(fens).over ? { score: 0, move: null, pv: [], certain: true } : null;
    }

    #takesBack(i) {
        const moves = this.app.game.moves;
        return i > 0 && moves[i - 1].san.includes("x") && moves[i - 1].to === moves[i].to;
    }

    #take({ positions, only }, depth) {
        const { game } = this.app;
        const first = sideToMove(game.startFen);
        const fens = [game.startFen, ...game.moves.map((move) => move.fen)];
        const scored = game.moves.map((move, i) => ({
            judged: true,
            best: positions[i].move === move.uci,
            only: only[i],
            before: positions[i].score,
            after: -positions[i + 1].score,
        }));
        const judged = judgeGame(scored, first, game.result);
        game.moves.forEach((move, i) => {
            const { mark, loss } = judged.moves[i];
            move.nags = move.nags.filter((nag) => nag > 6);
            if (mark) move.nags.push(mark);
            move.variations = move.variations.filter((line) => !line.ours);
            if (scored[i].best || markOfLoss(loss) === 0 || mark === GOOD) return;
            const better = playLine(fens[i], positions[i].pv.slice(0, LINE_PLIES));
            if (better.length) move.variations.unshift(Object.assign(better, { ours: true }));
        });
        const white = (i) => (i % 2 === 0) === (first === "w");
        const scores = positions.map((position, i) => (white(i) ? position.score : -position.score));
        byId("review-state").textContent = `Depth ${depth}`;
        this.show(scores, judged);
        this.app.moves.draw();
        this.app.showGame();
    }

    // Shows scores, from White's view, that are known: found here, or read from a reviewed game.
    show(scores, judged) {
        const { game } = this.app;
        this.curve?.remove();
        this.scores = scores;
        this.moves = game.moves;
        const labels = scores.map((_, i) => i);
        this.curve = drawCurve(byId("curve"), {
            xs: labels,
            yRange: [0, 100],
            level: 50,
            height: 130,
            legend: false,
            series: [
                {
                    label: "White",
                    values: scores.map((score) => (score === null ? null : winningChances(score))),
                    stroke: "#2b7a9b",
                },
            ],
            onPick: (i) => game.goToMain(i),
        });
        this.curve.mark(game.ply);
        showScore(this.app, scores[game.ply] ?? null);
        byId("review-summary").replaceChildren(...this.#summary(judged, scores));
    }

    #summary(judged, scores) {
        const { game } = this.app;
        const names = [
            ["Moves"],
            ["Accuracy"],
            ["Mean loss"],
            ["?!", "Inaccuracies"],
            ["?", "Mistakes"],
            ["??", "Blunders"],
        ];
        const head = el(
            "tr",
            {},
            el("th", { text: "" }),
            ...names.map(([text, label]) => el("th", { scope: "col", text, "aria-label": label, title: label })),
        );
        const row = (name, side) =>
            el(
                "tr",
                {},
                el("td", { text: name }),
                ...[
                    side.moves,
                    `${side.accuracy.toFixed(1)} %`,
                    side.averageLoss.toFixed(0),
                    side.inaccuracies,
                    side.mistakes,
                    side.blunders,
                ].map((text) => el("td", { text })),
            );
        const table = el(
            "table",
            { id: "accuracy" },
            el("thead", {}, head),
            el("tbody", {}, row("White", judged.sides.w), row("Black", judged.sides.b)),
        );
        const turn = judged.turningPoint;
        if (turn < 0 || scores[turn] === null) return [table];
        const chances = (i) => winningChances(scores[i]).toFixed(0);
        const text = `${moveNumber(game.startFen, turn)} ${game.moves[turn].san}`;
        const { button } = moveButton(text, null, () => game.goToMain(turn + 1));
        return [
            table,
            el(
                "p",
                { class: "note" },
                "Turning point: ",
                button,
                ` (White's chances ${chances(turn)} to ${chances(turn + 1)} percent, ${scoreText(scores[turn + 1])})`,
            ),
        ];
    }
}
