// What a file is, told by its content alone; names can be anything.

export const RESULTS_HEADING =
    "id\tfen\tverdict\tmove\texpected\tscore\tdepth\tseconds\tnodes\tfirst_seconds\tfirst_nodes\tlast_seconds\tlast_nodes";

// "results", "tune", "estimates", "games", "position" or "unknown".
export function kindOf(text) {
    const head = text.slice(0, 20_000).replace(/^\ufeff/, "");
    if (head.startsWith(RESULTS_HEADING)) return "results";
    if (/^tuning file is /m.test(head) || /^pass= +\d+, k0= /m.test(head)) return "tune";
    if (/^ngames= +\d+\s*$/m.test(head)) return "estimates";
    if (/^\s*\[\s*[A-Za-z_]\w*\s+[^\]\n]+\]/m.test(head)) return "games";
    if (/^\s*([pnbrqkPNBRQK1-8]+\/){7}[pnbrqkPNBRQK1-8]+\s+[wb]\b/.test(head)) return "position";
    return /(^|\s)1\.\s*[a-hNBRQKO]/.test(head) ? "games" : "unknown";
}
