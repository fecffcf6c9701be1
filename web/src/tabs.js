// Tabs, as the keyboard expects them: arrows go from one to the next.

// Gives a procedure that shows the panel of a name.
export function initTabs() {
    const tabs = [...document.querySelectorAll("[role=tab]")];
    const show = (tab) => {
        for (const other of tabs) {
            const chosen = other === tab;
            other.setAttribute("aria-selected", String(chosen));
            other.tabIndex = chosen ? 0 : -1;
            document.getElementById(other.getAttribute("aria-controls")).hidden = !chosen;
        }
    };
    tabs.forEach((tab, i) => {
        tab.addEventListener("click", () => show(tab));
        tab.addEventListener("keydown", (event) => {
            const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
            if (!step) return;
            const next = tabs[(i + step + tabs.length) % tabs.length];
            next.focus();
            show(next);
        });
    });
    return (name) => show(document.getElementById(`tab-${name}`));
}
