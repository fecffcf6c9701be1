// Stands in for the engine while the page is worked on: same interface, a program on this machine behind it.
export async function createDral() {
    const id = Math.random().toString(36).slice(2);
    const source = new EventSource(`/native/lines?id=${id}`);
    let queue = Promise.resolve();
    const dral = {
        threads: true,
        onLine: () => {},
        send(line) {
            queue = queue.then(() => fetch(`/native/send?id=${id}`, { method: "POST", body: line }));
        },
        addFile: async (name) => `/files/${name}`,
        quit: () => source.close(),
    };
    source.onmessage = (event) => dral.onLine(JSON.parse(event.data));
    await new Promise((resolve) => (source.onopen = resolve));
    return dral;
}
