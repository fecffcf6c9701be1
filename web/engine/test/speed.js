// Nodes per second of both builds in the browser beside a native program, in turns: node speed.js [PROGRAM [TURNS]]
import { execFileSync } from "node:child_process";
import { openBrowser, openPage } from "./pages.js";

const [program, turns = 3] = process.argv.slice(2);
const ARGUMENTS = ["-bench", "-d", "12", "-hash", "2"];
const rate = (text) => Number(/nps= (\d+)/.exec(text.slice(text.lastIndexOf("total time")))?.[1]);

const browser = await openBrowser();
const { page } = await openPage(browser, { isolated: true });
const inBrowser = (threads, more = []) =>
    page.evaluate(
        async ({ threads, args }) => {
            await start({ threads, args });
            await new Promise((resolve) => (dral.onEnd = resolve));
            return dral.lines.join("\n");
        },
        { threads, args: [...ARGUMENTS, ...more] },
    );

const runs = {
    native: () => (program ? execFileSync(program, ARGUMENTS, { encoding: "utf8" }) : ""),
    threads: () => inBrowser("try"),
    single: () => inBrowser(false),
    "two threads": () => inBrowser("try", ["-threads", "2"]),
};
for (let turn = 0; turn < turns; ++turn)
    for (const [name, run] of Object.entries(runs)) console.log(`${name}\t${rate(await run())}`);
await browser.close();
