// A list of games to choose from, with the accuracy of reviewed ones, and the balance of self-play.
import { el, plain } from "../dom.js";
import { readTags } from "../pgn.js";

const PAGE = 200; // rows drawn at once
const NAME = 60;

// { white, black } in percent from the summary that a review writes at the end of a game, or null.
export function accuracies(text, game) {
    const at = text.lastIndexOf("{", game.end - 1);
    if (at < game.moves) return null;
    const comment = text.slice(at, Math.min(game.end, at + 2000)).replace(/\s+/g, " ");
    const found = /Review by [^.]{1,60}.*?White: accuracy ([\d.]+) %.*?Black: accuracy ([\d.]+) %/.exec(comment);
    return found ? { white: Number(found[1]), black: Number(found[2]) } : null;
}

// What such a summary says of each side: { w: { accuracy, averageLoss, inaccuracies, mistakes, blunders }, b }, or
// null.
export function writtenSummary(comment) {
    const sides = {};
    for (const [side, name] of [
        ["w", "White"],
        ["b", "Black"],
    ]) {
        const found = new RegExp(
            `${name}: accuracy ([\\d.]+) %, average loss (\\d+), (\\d+) inaccurac\\w+, (\\d+) mistakes?, (\\d+) blunders?`,
        ).exec(comment.replace(/\s+/g, " "));
        if (!found) return null;
        const [accuracy, averageLoss, inaccuracies, mistakes, blunders] = found.slice(1).map(Number);
        sides[side] = { accuracy, averageLoss, inaccuracies, mistakes, blunders };
    }
    return sides;
}

// Of the games of self-play, the score of the copy whose weights were changed, with the error of the mean (two standard
// deviations); null when the games are no self-play.
export function selfPlayBalance(list) {
    const games = list.filter(({ tags }) => tags.White === "Player1" || tags.White === "Player2");
    if (!games.length || games.length < list.length) return null;
    const points = games
        .map(({ tags }) => {
            const white = { "1-0": 1, "0-1": 0, "1/2-1/2": 0.5 }[tags.Result] ?? null;
            return white === null ? null : tags.White === "Player1" ? white : 1 - white;
        })
        .filter((point) => point !== null);
    if (!points.length) return null;
    const mean = points.reduce((a, b) => a + b, 0) / points.length;
    const variance = points.reduce((a, b) => a + (b - mean) ** 2, 0) / points.length;
    const number = (point) => points.filter((p) => p === point).length;
    return {
        won: number(1),
        drawn: number(0.5),
        lost: number(0),
        score: 100 * mean,
        error: 200 * Math.sqrt(variance / points.length),
    };
}

// `open(game, button)` when one is chosen.
export function showGames(element, name, text, games, open) {
    const list = games.map((game, i) => ({ game, number: i + 1, tags: readTags(text, game) }));
    const balance = selfPlayBalance(list);
    const filter = el("input", {
        type: "search",
        placeholder: "Player, event, result",
        "aria-label": "Find games",
        maxlength: 60,
    });
    const rows = el("div", { class: "list", role: "group", "aria-label": "Games" });
    const more = el("button", { type: "button", text: "More" });
    const state = el("p", { class: "figures" });
    let found = list;
    let drawn = 0;
    const row = ({ game, number, tags }) => {
        const accuracy = accuracies(text, game);
        const names = `${number}. ${plain(tags.White ?? "?", NAME)} \u2013 ${plain(tags.Black ?? "?", NAME)}`;
        const place = [tags.Event, tags.Date?.replace(/\.\?\?/g, "")]
            .filter((part) => part && part !== "?")
            .map((part) => plain(part, 40))
            .join(", ");
        const end =
            plain(tags.Result ?? "*", 8) +
            (accuracy ? `  ${accuracy.white.toFixed(1)} / ${accuracy.black.toFixed(1)} %` : "");
        const button = el(
            "button",
            {
                type: "button",
                on: {
                    click: () => {
                        rows.querySelector("[aria-current]")?.removeAttribute("aria-current");
                        button.setAttribute("aria-current", "true");
                        open(game);
                    },
                },
            },
            el("span", {}, names, el("span", { class: "note", text: place ? `  ${place}` : "" })),
            el("span", { class: "more", text: end }),
        );
        return button;
    };
    const draw = () => {
        rows.append(...found.slice(drawn, drawn + PAGE).map(row));
        drawn = Math.min(drawn + PAGE, found.length);
        more.hidden = drawn >= found.length;
        state.textContent = `${found.length === list.length ? "" : `${found.length} of `}${list.length} games`;
    };
    const search = () => {
        const words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
        const hit = ({ tags }) => {
            const all = [tags.White, tags.Black, tags.Event, tags.Result, tags.Opening, tags.ECO]
                .join(" ")
                .toLowerCase();
            return words.every((word) => all.includes(word));
        };
        found = words.length ? list.filter(hit) : list;
        drawn = 0;
        rows.replaceChildren();
        draw();
    };
    let timer = 0;
    filter.addEventListener("input", () => {
        clearTimeout(timer);
        timer = setTimeout(search, 150);
    });
    more.addEventListener("click", draw);
    const parts = [el("h3", { text: plain(name) })];
    if (balance)
        parts.push(
            el("p", {
                id: "balance",
                text:
                    `The changed copies won ${balance.won}, drew ${balance.drawn}, lost ${balance.lost}: ` +
                    `${balance.score.toFixed(1)} \u00b1 ${balance.error.toFixed(1)} percent`,
            }),
        );
    element.replaceChildren(...parts, el("div", { class: "row" }, filter, state), rows, more);
    draw();
    return { remove() {}, first: () => rows.querySelector("button")?.click() };
}
