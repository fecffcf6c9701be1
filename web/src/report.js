// The page as a report: one file that stands alone, with what it shows inside, and no engine.
import { byId } from "./dom.js";

// The engine's program fills in the place that the build leaves. False when this is the page itself.
export function showReport(app) {
    const place = byId("report-data");
    if (!place) return false;
    document.documentElement.dataset.report = "";
    for (const id of ["tab-analysis", "tab-play", "open-file", "review-controls", "files-hint", "paste-box", "footer"])
        byId(id).hidden = true;
    byId("engine-state").textContent = "A report; it needs no network";
    app.showTab("files");
    try {
        const { name, text } = JSON.parse(place.textContent);
        document.title = `${name} \u2013 Dral`;
        app.files.openText(name, text);
    } catch {
        byId("engine-state").textContent = "This report is damaged";
    }
    return true;
}
