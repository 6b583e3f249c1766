import { useMemo, useState } from "preact/hooks";
import { readPlain } from "../data/api";
import { revision } from "../data/live";
import type { Finding } from "../data/shapes";
import { useStore } from "../data/store";
import { useAnswer } from "../data/useAnswer";
import { PathLink } from "../parts/PathLink";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading } from "../parts/State";
import { counted, Text } from "../parts/Text";

/** What is wrong in the configuration, and what is merely to be known. */
export function Check() {
    const { configuration } = useStore(revision);
    const { answer, error, again } = useAnswer(
        (signal) => readPlain<{ findings: Finding[] }>("/check", {}, signal),
        [configuration],
    );
    const [faults, notes] = useMemo(() => {
        const all = answer?.findings ?? [];
        return [grouped(all.filter(({ note }) => !note)), grouped(all.filter(({ note }) => note))] as const;
    }, [answer]);
    const numbers = (groups: Map<string, Finding[]>) =>
        [...groups.values()].reduce((sum, group) => sum + group.length, 0);
    return (
        <section class="view">
            <Head
                title="Check"
                note={answer ? `${counted(numbers(faults), "fault")}, ${counted(numbers(notes), "note")}` : " "}
            >
                <button type="button" onClick={again}>
                    Check again
                </button>
            </Head>
            {error !== undefined && <Failure error={error} retry={again} />}
            {!answer && error === undefined && <Loading what="what is wrong" />}
            {answer?.findings.length === 0 && (
                <Empty title="Nothing is wrong.">
                    <p>All recipes and types fit each other and their symbols.</p>
                </Empty>
            )}
            <Groups groups={faults} isNote={false} />
            {notes.size > 0 && <h2>To be known</h2>}
            <Groups groups={notes} isNote />
        </section>
    );
}

/** By kind, in the order in which the service tells them. */
function grouped(findings: Finding[]): Map<string, Finding[]> {
    const groups = new Map<string, Finding[]>();
    for (const finding of findings) {
        const group = groups.get(finding.kind) ?? [];
        group.push(finding);
        groups.set(finding.kind, group);
    }
    return groups;
}

function Groups({ groups, isNote }: { groups: Map<string, Finding[]>; isNote: boolean }) {
    return (
        <>
            {[...groups].map(([kind, findings]) => (
                <Group key={kind} kind={kind} findings={findings} isNote={isNote} />
            ))}
        </>
    );
}

/** So many are shown at once. */
const some = 100;

function Group({ kind, findings, isNote }: { kind: string; findings: Finding[]; isNote: boolean }) {
    const [most, setMost] = useState(some);
    return (
        <section class={isNote ? "findings" : "findings fault"}>
            <h3>
                <span class={isNote ? "state" : "state bad"}>
                    <span aria-hidden="true">{isNote ? "i" : "✕"}</span> {kind}
                </span>{" "}
                <span class="quiet-text">{findings.length}</span>
            </h3>
            <ul>
                {findings.slice(0, most).map(({ path, text }) => (
                    <li key={path + text}>
                        <div>
                            <PathLink path={path} />
                        </div>
                        <div class="quiet-text">
                            <Text>{text}</Text>
                        </div>
                    </li>
                ))}
            </ul>
            {findings.length > most && (
                <button type="button" onClick={() => setMost(most + 10 * some)}>
                    Show {Math.min(10 * some, findings.length - most)} more
                </button>
            )}
        </section>
    );
}
