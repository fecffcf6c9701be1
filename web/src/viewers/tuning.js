// What tuners write: the error and each weight by pass (tune.log), and the estimates of self-play with their spread.
import { drawCurve, seriesColour } from "../curve.js";
import { el, plain } from "../dom.js";

const MOST_WEIGHTS = 2000;
const MOST_DRAWN = 8;

function put(weights, name, at, value) {
    if (!weights.has(name) && weights.size < MOST_WEIGHTS) weights.set(name, []);
    const values = weights.get(name);
    if (values) values[at] = value;
}

// { xs: passes, errors, heldOut, weights: Map of name to values }.
export function readTuneLog(text) {
    const log = { xs: [], errors: [], heldOut: [], weights: new Map() };
    for (const line of text.split(/\r?\n/)) {
        const at = log.xs.length - 1;
        let found;
        if ((found = /^pass= +(\d+),/.exec(line))) log.xs.push(Number(found[1]));
        else if (at < 0) continue;
        else if ((found = /^\*\* (\S{1,80}) = (-?[\d.]+)$/.exec(line)))
            put(log.weights, found[1], at, Number(found[2]));
        else if ((found = /^err= ([\d.]+)$/.exec(line))) log.errors[at] = Number(found[1]);
        else if ((found = /^held-out err= ([\d.]+)$/.exec(line))) log.heldOut[at] = Number(found[1]);
    }
    return log;
}

// What self-play prints: { xs: games, weights: Map of name to estimates, tried: Map of name to the values of the copies
// }.
export function readEstimates(text) {
    const found = { xs: [], weights: new Map(), tried: new Map() };
    for (const line of text.split(/\r?\n/)) {
        const games = /^ngames= +(\d+)/.exec(line);
        if (games) found.xs.push(Number(games[1]));
        const row = /^ \* (\S{1,80})\s+: +(-?[\d.]+) +(-?\d+)$/.exec(line);
        if (!row || !found.xs.length) continue;
        put(found.weights, row[1], found.xs.length - 1, Number(row[2]));
        put(found.tried, row[1], found.xs.length - 1, Number(row[3]));
    }
    return found;
}

// Mean and standard deviation of what is known of `values`.
export function spread(values) {
    const known = values.filter(Number.isFinite);
    if (!known.length) return { mean: 0, deviation: 0, low: 0, high: 0 };
    const mean = known.reduce((a, b) => a + b, 0) / known.length;
    const square = known.reduce((a, b) => a + (b - mean) ** 2, 0) / Math.max(known.length - 1, 1);
    return {
        mean,
        deviation: Math.sqrt(square),
        low: Math.min(...known.slice(-50_000)),
        high: Math.max(...known.slice(-50_000)),
    };
}

const filled = (xs, values) => xs.map((_, i) => values[i] ?? null);

// A table of weights with boxes, and the curves of those that are chosen. Other than one weight alone, they are drawn
// as changes in percent of where they began, or they could not share an axis.
function weightTable(element, { xs, weights, tried, xLabel, curves }) {
    const names = [...weights.keys()];
    const chosen = new Set(names.slice(0, Math.min(4, names.length)));
    const figure = el("div", { class: "figure" });
    let curve = null;
    const redraw = () => {
        curve?.remove();
        figure.replaceChildren();
        const shown = names.filter((name) => chosen.has(name)).slice(0, MOST_DRAWN);
        if (!shown.length || !xs.length) return;
        let series = [];
        if (shown.length === 1) {
            const [name] = shown;
            series = [{ label: plain(name), values: filled(xs, weights.get(name)) }];
            if (tried)
                series.push({
                    label: "copies tried",
                    values: filled(xs, tried.get(name)),
                    points: true,
                    stroke: seriesColour(1),
                });
        } else {
            series = shown.map((name) => {
                const first = weights.get(name).find(Number.isFinite) ?? 0;
                const base = Math.max(Math.abs(first), 1);
                return {
                    label: plain(name),
                    values: filled(xs, weights.get(name)).map((v) => (v === null ? null : (100 * (v - first)) / base)),
                };
            });
        }
        curve = drawCurve(figure, {
            xs,
            series,
            xLabel,
            yLabel: shown.length === 1 ? "weight" : "change, %",
            height: 230,
        });
        curves.weights = curve;
    };
    const rows = names.map((name) => {
        const values = weights.get(name).filter(Number.isFinite);
        const { deviation, low, high } = spread(values);
        const box = el("input", {
            type: "checkbox",
            checked: chosen.has(name),
            on: {
                change: () => {
                    if (box.checked) chosen.add(name);
                    else chosen.delete(name);
                    redraw();
                },
            },
        });
        const cells = [values[0], values.at(-1), low, high, deviation.toFixed(1)];
        if (tried) cells.push(spread(tried.get(name) ?? []).deviation.toFixed(1));
        return el(
            "tr",
            {},
            el("td", {}, el("label", {}, box, " " + plain(name, 60))),
            ...cells.map((text) => el("td", { text })),
        );
    });
    const heads = ["Weight", "First", "Last", "Lowest", "Highest", "Spread", ...(tried ? ["Spread tried"] : [])];
    element.append(
        figure,
        el("p", {
            class: "note",
            text: "Spread: the standard deviation over the run. One weight alone is drawn with its values, several as changes.",
        }),
        el(
            "div",
            { class: "list" },
            el(
                "table",
                {},
                el("thead", {}, el("tr", {}, ...heads.map((text) => el("th", { scope: "col", text })))),
                el("tbody", {}, ...rows),
            ),
        ),
    );
    redraw();
}

export function showTuneLog(element, name, log) {
    const last = log.errors.findLastIndex(Number.isFinite);
    const change = last >= 0 ? `error ${log.errors.find(Number.isFinite)} to ${log.errors[last]}` : "no error measured";
    element.replaceChildren(
        el("h3", { text: plain(name) }),
        el("p", { class: "figures", text: `${log.xs.length} passes, ${log.weights.size} weights, ${change}` }),
    );
    const curves = {};
    const figure = el("div", { class: "figure" });
    element.append(figure);
    if (last >= 0) {
        const series = [{ label: "error", values: filled(log.xs, log.errors) }];
        if (log.heldOut.some(Number.isFinite)) series.push({ label: "held out", values: filled(log.xs, log.heldOut) });
        curves.error = drawCurve(figure, { xs: log.xs, series, xLabel: "Pass", yLabel: "error" });
    }
    weightTable(element, { ...log, xLabel: "Pass", curves });
    return { remove: () => Object.values(curves).forEach((curve) => curve.remove()) };
}

export function showEstimates(element, name, found) {
    element.replaceChildren(
        el("h3", { text: plain(name) }),
        el("p", { class: "figures", text: `${found.xs.at(-1) ?? 0} games, ${found.weights.size} weights` }),
    );
    const curves = {};
    weightTable(element, { ...found, xLabel: "Games", curves });
    return { remove: () => Object.values(curves).forEach((curve) => curve.remove()) };
}
