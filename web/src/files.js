// Files and texts that are dropped, opened or pasted: each goes to the viewer for what it is.
import { byId, plain, tell } from "./dom.js";
import { readGame, splitGames } from "./pgn.js";
import { readFen } from "./position.js";
import { judgeByComments } from "./reviewed_game.js";
import { kindOf } from "./viewers/detect.js";
import { showGames, writtenSummary } from "./viewers/games.js";
import { readResults, showResults } from "./viewers/results.js";
import { readEstimates, readTuneLog, showEstimates, showTuneLog } from "./viewers/tuning.js";

const LARGEST_FILE = 256 * 1024 * 1024;
const LONGEST_FIELD = 200;

export class Files {
    constructor(app) {
        this.app = app;
        this.shown = null; // what the viewer shows, with remove()
        this.runs = []; // results opened one after the other
        const input = byId("file-input");
        byId("open-file").addEventListener("click", () => input.click());
        input.addEventListener("change", async () => {
            await this.openAll([...input.files]);
            input.value = "";
        });
        byId("read-paste").addEventListener("click", () => this.openText("Pasted", byId("paste").value));
        this.#listenToDrops();
        document.addEventListener("paste", (event) => this.#paste(event));
    }

    #listenToDrops() {
        const sign = byId("drop-sign");
        addEventListener("dragover", (event) => {
            if (!event.dataTransfer?.types.includes("Files")) return;
            event.preventDefault();
            sign.hidden = false;
        });
        addEventListener("dragleave", (event) => (sign.hidden = event.relatedTarget === null || sign.hidden));
        addEventListener("drop", (event) => {
            sign.hidden = true;
            if (!event.dataTransfer?.files.length) return;
            event.preventDefault();
            this.openAll([...event.dataTransfer.files]);
        });
    }

    // Outside of fields, pasted text is opened; in a field, only what is too long for it.
    #paste(event) {
        const text = event.clipboardData?.getData("text/plain") ?? "";
        const field = event.target.closest?.("input, textarea");
        if (!text || (field && (field.id === "paste" || text.length <= LONGEST_FIELD))) return;
        event.preventDefault();
        this.openText("Pasted", text);
    }

    async openAll(files) {
        for (const file of files) {
            if (file.size > LARGEST_FILE) {
                tell(`${file.name} is too large to be shown`);
                continue;
            }
            try {
                this.openText(file.name, await file.text());
            } catch {
                tell(`${file.name} cannot be read`);
            }
        }
    }

    openText(name, text) {
        const kind = kindOf(text);
        if (kind === "unknown") {
            tell(
                text.trim()
                    ? `${plain(name, 60)}: neither games nor a file of Dral's tools`
                    : `${plain(name, 60)} is empty`,
            );
        } else if (kind === "position") {
            this.#openPosition(text);
        } else {
            this.app.showTab("files");
            this.shown?.remove();
            this.shown = this.#show(kind, name, text);
        }
    }

    #openPosition(text) {
        const line = text.trim().split("\n", 1)[0];
        const fen = readFen(line) ?? readFen(line.split(/\s+/).slice(0, 4).join(" "));
        if (fen) this.app.game.setFen(fen);
        else tell("That is no position that can be played");
    }

    #show(kind, name, text) {
        const viewer = byId("viewer");
        if (kind === "results") {
            this.runs = [...this.runs.slice(-1), { name, ...readResults(text) }];
            return showResults(viewer, this.runs, (fen) => this.app.game.setFen(fen));
        }
        if (kind === "tune") return showTuneLog(viewer, name, readTuneLog(text));
        if (kind === "estimates") return showEstimates(viewer, name, readEstimates(text));
        const games = splitGames(text);
        const list = showGames(viewer, name, text, games, (game) => this.#openGame(text, game));
        list.first();
        return list;
    }

    #openGame(text, place) {
        const { app } = this;
        const game = readGame(text, place);
        app.game.load(game);
        if (game.problem) tell(`The game cannot be read to its end: ${plain(game.problem, 80)}`);
        if (!game.moves.some((move) => /\[%eval\s/.test(move.comment))) return;
        const { scores, judged } = judgeByComments(game);
        const written = writtenSummary(game.moves.at(-1).comment);
        if (written) for (const side of ["w", "b"]) Object.assign(judged.sides[side], { moves: "" }, written[side]);
        app.review.show(scores, judged);
        byId("review-state").textContent = written ? "As the file has it" : "From the scores in the file";
    }
}
