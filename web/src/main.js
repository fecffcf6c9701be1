// Puts the page together: one game, one board, one engine, and the panels that share them.
import "cm-chessboard/assets/chessboard.css";
import "cm-chessboard/assets/extensions/arrows/arrows.css";
import "cm-chessboard/assets/extensions/markers/markers.css";
import "cm-chessboard/assets/extensions/promotion-dialog/promotion-dialog.css";
import "./styles/base.css";
import "./styles/board.css";
import "./styles/panels.css";
import { Analysis, showScore } from "./analysis.js";
import { BoardView } from "./board_view.js";
import { byId, copy, download, plain, tell } from "./dom.js";
import { EngineSession } from "./engine_session.js";
import { registerWorker, startEngine } from "./engine_start.js";
import { Files } from "./files.js";
import { Game } from "./game.js";
import { MovesView } from "./moves_view.js";
import { Play } from "./play.js";
import { showReport } from "./report.js";
import { Review } from "./review.js";
import { initEngineSettings, initTheme } from "./settings.js";
import { initTabs } from "./tabs.js";

const app = { game: new Game(), session: null };
const { game } = app;

function playMove(text) {
    if (app.play.on && !app.play.mayMove(game.turn)) return false;
    return game.play(text, { truncate: app.play.on }) !== null;
}

app.showGame = () => {
    const { White: white = "", Black: black = "", Event: event = "", Date: date = "" } = game.tags;
    const names = { w: white, b: black };
    const below = app.board.orientation;
    byId("player-bottom").querySelector(".name").textContent = plain(names[below], 60);
    byId("player-top").querySelector(".name").textContent = plain(names[below === "w" ? "b" : "w"], 60);
    const known = [event, date.replaceAll(".??", "")]
        .filter((part) => part && !/^[?.]*$/.test(part))
        .map((part) => plain(part, 80));
    byId("game-title").textContent = known.length ? known.join(", ") : "Game";
    byId("standing").textContent = game.standing().text;
    if (document.activeElement !== byId("fen")) byId("fen").value = game.fen;
};

app.setOrientation = async (side) => {
    await app.board.turn(side);
    showScore(app, null);
    app.showGame();
};

function initBoard() {
    app.board = new BoardView(byId("board"), {
        onMove: (move) => playMove(move) || app.board.show(game.fen, game.lastMove, false),
        mayMove: (side) => app.play.mayMove(side),
    });
    game.addEventListener("change", () => {
        app.board.show(game.fen, game.lastMove);
        app.showGame();
        const input = byId("move-entry");
        input.setCustomValidity("");
    });
}

function initControls() {
    const steps = {
        first: () => game.goTo(0),
        back: () => game.goTo(game.ply - 1),
        on: () => game.goTo(game.ply + 1),
        last: () => game.goTo(game.path.length),
    };
    for (const button of document.querySelectorAll("[data-step]"))
        button.addEventListener("click", () => steps[button.dataset.step]());
    const keys = { ArrowLeft: "back", ArrowRight: "on", Home: "first", End: "last" };
    addEventListener("keydown", (event) => {
        const busy = event.target.closest?.("input, textarea, select, svg, [role=tab]");
        if (busy || event.ctrlKey || event.altKey || event.metaKey || !keys[event.key]) return;
        event.preventDefault();
        steps[keys[event.key]]();
    });
    byId("take-back").addEventListener("click", () => (app.play.on ? app.play.takeBack() : game.takeBack()));
    byId("flip").addEventListener("click", () => app.setOrientation(app.board.orientation === "w" ? "b" : "w"));
    byId("new-game").addEventListener("click", () => game.setFen("startpos"));
    byId("entry").addEventListener("submit", (event) => {
        event.preventDefault();
        const input = byId("move-entry");
        const text = input.value.trim();
        if (!text) return;
        if (playMove(text)) input.value = "";
        else tell(`${text} is no legal move here`);
    });
    byId("fen-form").addEventListener("submit", (event) => {
        event.preventDefault();
        if (game.setFen(byId("fen").value)) byId("fen").blur();
        else tell("That is no position that can be played");
    });
    byId("copy-fen").addEventListener("click", () => copy(game.fen, "FEN"));
    byId("copy-pgn").addEventListener("click", () => copy(game.pgn(), "PGN"));
    byId("save-pgn").addEventListener("click", () => download("game.pgn", game.pgn()));
}

async function initEngine() {
    try {
        const dral = await startEngine();
        dral.onError = (message) => tell(`Engine: ${message}`);
        dral.onEnd = () => (byId("engine-state").textContent = "The engine has ended; load the page again");
        app.session = new EngineSession(dral);
        initEngineSettings(app);
        const what = dral.threads
            ? `engine with threads, ${navigator.hardwareConcurrency} processors`
            : "engine with one thread";
        byId("engine-state").textContent = what;
        document.documentElement.dataset.engine = dral.threads ? "threads" : "single";
        for (const id of ["analyse", "play-start", "review-start"]) byId(id).disabled = false;
        app.analysis.restart();
    } catch (error) {
        byId("engine-state").textContent = "The engine does not start in this browser; the board works without it";
        console.error(error);
    }
}

initTheme();
app.showTab = initTabs();
app.play = { on: false, mayMove: () => true };
initBoard();
app.moves = new MovesView(game);
app.analysis = new Analysis(app);
app.review = new Review(app);
app.play = new Play(app);
app.files = new Files(app);
initControls();
game.setFen("startpos");
if (!showReport(app)) {
    await registerWorker();
    await initEngine();
}
