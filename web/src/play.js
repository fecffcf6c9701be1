// A game against Dral at a wanted strength, with a clock.
import { Clock, timeText } from "./clock.js";
import { byId, tell } from "./dom.js";
import { START_FEN } from "./position.js";
import { showScore } from "./analysis.js";

const FULL_STRENGTH = 2939; // what UCI_Elo ends with
const other = (side) => (side === "w" ? "b" : "w");

export class Play {
    constructor(app) {
        this.app = app;
        this.match = null; // the game that is on
        byId("play-form").addEventListener("submit", (event) => {
            event.preventDefault();
            this.start();
        });
        byId("resign").addEventListener(
            "click",
            () => this.match && this.#end(this.match.side === "w" ? "0-1" : "1-0", "You resigned"),
        );
        byId("elo").addEventListener("input", () => this.#showElo());
        this.#showElo();
        app.game.addEventListener("change", (event) => this.#gameChanged(event.detail.reason));
    }

    #showElo() {
        const elo = Number(byId("elo").value);
        byId("elo-text").textContent = elo >= FULL_STRENGTH ? "full strength" : `${elo} Elo`;
    }

    get on() {
        return this.match !== null;
    }

    mayMove(side) {
        return !this.match || (side === this.match.side && this.app.game.ply === this.app.game.moves.length);
    }

    start() {
        const { app } = this;
        if (!app.session) return;
        if (this.match) this.#end("*", "Broken off");
        const chosen = byId("play-side").value;
        const side = chosen === "r" ? (Math.random() < 0.5 ? "w" : "b") : chosen;
        const fen = byId("play-from").value === "here" ? app.game.fen : START_FEN;
        app.review.cancel();
        app.analysis.suspend(true);
        const elo = Number(byId("elo").value);
        const engineName = elo >= FULL_STRENGTH ? "Dral" : `Dral, ${elo} Elo`;
        const names = { [side]: "You", [other(side)]: engineName };
        const date = new Date().toISOString().slice(0, 10).replaceAll("-", ".");
        const clock = new Clock({
            minutes: Number(byId("minutes").value),
            increment: Number(byId("increment").value),
            onTick: () => this.#showClocks(),
            onFlag: (late) =>
                this.#end(late === "w" ? "0-1" : "1-0", `${late === side ? "Your" : "Dral's"} time is over`),
        });
        const minutes = Number(byId("minutes").value) * 60;
        const tags = {
            Event: "Game against Dral",
            Date: date,
            White: names.w,
            Black: names.b,
            TimeControl: `${minutes}+${byId("increment").value}`,
        };
        app.game.load({ tags, startFen: fen, moves: [], comment: "", result: "*" });
        this.match = { side, elo, clock, started: false };
        showScore(app, null);
        app.setOrientation(side);
        byId("resign").disabled = false;
        byId("play-start").textContent = "Start anew";
        this.#next();
    }

    // `kept`: the game on the board is the one that ends.
    #end(result, text, kept = true) {
        const { match, app } = this;
        if (!match) return;
        this.match = null;
        match.clock.stop();
        app.session.stop();
        if (kept) Object.assign(app.game, { result, tags: { ...app.game.tags, Result: result } });
        byId("resign").disabled = true;
        byId("play-start").textContent = "Start";
        byId("play-state").textContent = `${text}. ${result === "*" ? "" : result}`;
        for (const clock of document.querySelectorAll(".clock")) clock.classList.remove("running");
        app.analysis.suspend(false);
        app.moves.draw();
        app.showGame();
    }

    #gameChanged(reason) {
        if (!this.match && reason === "load")
            for (const clock of document.querySelectorAll(".clock")) clock.textContent = "";
        if (!this.match || reason === "step") return;
        if (reason === "load" && this.match.started) this.#end("*", "Broken off", false);
        else if (this.match.started) this.#next();
    }

    // Somebody has moved or taken back: whoever is to move goes on.
    #next() {
        const { match, app } = this;
        const made = app.game.moves.length > (match.plies ?? 0);
        match.plies = app.game.moves.length;
        match.started = true;
        const standing = app.game.standing();
        if (standing.over) {
            this.#end(standing.result, standing.text);
            return;
        }
        match.clock.press(app.game.turn, made);
        this.#showClocks();
        const mine = app.game.turn === match.side;
        byId("play-state").textContent = mine ? "Your move" : "Dral thinks";
        if (mine) app.session.stop();
        else this.#engineMove();
    }

    async #engineMove() {
        const { match, app } = this;
        const { game, session } = app;
        const plies = game.moves.length;
        const time = (side) => Math.max(Math.round(match.clock.left(side)), 1);
        const limited = match.elo < FULL_STRENGTH;
        const found = await session.search({
            commands: [...(plies < 2 ? ["ucinewgame"] : []), game.positionCommand(plies)],
            go: `go wtime ${time("w")} btime ${time("b")} winc ${match.clock.increment} binc ${match.clock.increment}`,
            options: {
                MultiPV: 1,
                OwnBook: Boolean(app.hasBook),
                UCI_LimitStrength: limited,
                ...(limited ? { UCI_Elo: match.elo } : {}),
            },
        });
        if (match !== this.match || found.ended || game.moves.length !== plies) return;
        game.goToMain(plies);
        if (!game.play(found.move, { truncate: true })) tell(`The engine played ${found.move}, which is no legal move`);
    }

    // Back to the person's last turn.
    takeBack() {
        const { game } = this.app;
        game.goToMain(game.moves.length);
        const plies = game.turn === this.match.side ? 2 : 1;
        if (game.moves.length >= plies) game.takeBack(plies);
    }

    #showClocks() {
        const clock = this.match?.clock;
        if (!clock) return;
        const below = this.app.board.orientation;
        for (const [id, side] of [
            ["player-bottom", below],
            ["player-top", other(below)],
        ]) {
            const output = byId(id).querySelector(".clock");
            output.textContent = timeText(clock.left(side));
            output.classList.toggle("running", clock.running === side);
        }
    }
}
