// Curves, by uPlot: they take the colours and the width of the page, and a click tells its place.
import uPlot from "uplot";
import "uplot/dist/uPlot.min.css";

const COLOURS = ["#2b7a9b", "#c2702a", "#5b8c3e", "#8a5aa6", "#b3403a", "#7d7a35", "#3f9c94", "#a64f7d"];

const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
export const seriesColour = (i) => COLOURS[i % COLOURS.length];

// `series`: [{ label, values, points?: bool, scale? }]; `xs` rise. `onPick(index)` at a click. Gives { mark(x),
// remove() }. As many decimals as the steps of an axis need.
const axisTexts = (plot, splits) => {
    const step = Math.abs(splits[1] - splits[0]) || 1;
    const decimals = Math.min(Math.max(-Math.floor(Math.log10(step) + 1e-9), 0), 8);
    return splits.map((value) => value.toFixed(decimals));
};

export function drawCurve(
    element,
    { xs, series, height = 180, yRange, yLabel, xLabel, onPick, level, log = false, legend = true },
) {
    let marked = null;
    const axis = (label, size) => ({
        stroke: () => colour("--quiet"),
        grid: { stroke: () => colour("--rule"), width: 1 },
        ticks: { show: false },
        label,
        labelSize: 18,
        size,
        font: "12px system-ui",
        labelFont: "12px system-ui",
    });
    const drawMarks = (plot) => {
        const { ctx, bbox } = plot;
        ctx.save();
        ctx.lineWidth = devicePixelRatio;
        const line = (x1, y1, x2, y2, stroke) => {
            ctx.strokeStyle = stroke;
            ctx.beginPath();
            ctx.moveTo(x1, y1);
            ctx.lineTo(x2, y2);
            ctx.stroke();
        };
        if (level !== undefined) {
            const y = plot.valToPos(level, "y", true);
            line(bbox.left, y, bbox.left + bbox.width, y, colour("--quiet"));
        }
        if (marked !== null) {
            const x = plot.valToPos(marked, "x", true);
            line(x, bbox.top, x, bbox.top + bbox.height, colour("--accent"));
        }
        ctx.restore();
    };
    const plot = new uPlot(
        {
            width: Math.max(element.clientWidth, 200),
            height,
            cursor: { drag: { x: false, y: false }, points: { size: 6 } },
            legend: { show: legend },
            scales: { x: { time: false, distr: log ? 3 : 1 }, y: yRange ? { range: yRange } : {} },
            axes: [axis(xLabel, xLabel ? 28 : 24), { ...axis(yLabel, 58), values: axisTexts }],
            series: [
                { label: log ? "s" : "" },
                ...series.map((one, i) => ({
                    label: one.label,
                    stroke: one.stroke ?? seriesColour(i),
                    width: one.points ? 0 : 1.6,
                    paths: one.points ? () => null : undefined,
                    points: { show: one.points ?? xs.length < 40, size: 4 },
                    spanGaps: true,
                })),
            ],
            hooks: { draw: [drawMarks] },
        },
        [xs, ...series.map((one) => one.values)],
        element,
    );
    if (onPick) {
        plot.over.style.cursor = "pointer";
        plot.over.addEventListener("click", () => plot.cursor.idx !== null && onPick(plot.cursor.idx));
    }
    const observer = new ResizeObserver(() => {
        if (element.clientWidth > 0 && element.clientWidth !== plot.width)
            plot.setSize({ width: element.clientWidth, height });
    });
    observer.observe(element);
    const repaint = () => plot.redraw(false);
    addEventListener("themechange", repaint);
    return {
        mark(x) {
            marked = x;
            plot.redraw(false);
        },
        remove() {
            observer.disconnect();
            removeEventListener("themechange", repaint);
            plot.destroy();
        },
    };
}
