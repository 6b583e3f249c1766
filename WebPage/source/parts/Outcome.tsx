const signs: Record<string, [sign: string, kind: string]> = {
    done: ["✓", "good"],
    failed: ["✕", "bad"],
    begun: ["?", "warn"],
};

/** How it ended; what is only begun runs, or nobody knows how it ended. */
export function Outcome({ of }: { of: string }) {
    const [sign, kind] = signs[of] ?? ["•", "quiet"];
    return (
        <span class={"state " + kind}>
            <span aria-hidden="true">{sign}</span> {of}
        </span>
    );
}
