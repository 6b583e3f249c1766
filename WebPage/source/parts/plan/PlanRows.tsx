import { useMemo, useState } from "preact/hooks";
import type { Row } from "../../data/shapes";
import { Dialog } from "../Dialog";
import { Grid } from "../Grid";
import type { Column } from "../Grid";
import { Empty, State } from "../State";
import { Text, ValueText } from "../Text";

interface Keyed extends Row {
    key: string;
}

/** What stood in the controllers stands there no more once something is under way. */
export type Phase = "plan" | "under way" | "outcome";

interface PlanRowsProps {
    rows: Row[];
    phase: Phase;
    units: ReadonlyMap<string, string>;
    empty: string;
}

/** The rows of a plan or an outcome; one is shown in full at a click. */
export function PlanRows({ rows, phase, units, empty }: PlanRowsProps) {
    const [opened, setOpened] = useState<Keyed>();
    const keyed = useMemo(() => rows.map((row, index) => ({ ...row, key: String(index) })), [rows]);
    const columns = useMemo(() => columnsOf(phase, units), [phase, units]);
    const isOutcome = phase === "outcome";
    return (
        <>
            <Grid
                label={isOutcome ? "The outcome" : "The plan"}
                kind={isOutcome ? "outcome-rows" : "plan-rows"}
                columns={columns}
                rows={keyed}
                keyOf={({ key }) => key}
                onOpen={setOpened}
                empty={<Empty title={empty} />}
            />
            {opened && (
                <RowDialog
                    row={opened}
                    phase={phase}
                    unit={units.get(opened.symbol)}
                    onClose={() => setOpened(undefined)}
                />
            )}
        </>
    );
}

function columnsOf(phase: Phase, units: ReadonlyMap<string, string>): Column<Keyed>[] {
    const value = (name: "before" | "value" | "after") => (row: Keyed) => (
        <ValueText value={row[name]} unit={units.get(row.symbol)} />
    );
    const state = ({ state: name, text }: Keyed) => (
        <>
            <RowState state={name} phase={phase} />
            {text && (
                <span class="row-text">
                    <Text>{text}</Text>
                </span>
            )}
        </>
    );
    return [
        { key: "symbol", title: "Symbol", cell: ({ symbol }) => <Text>{symbol}</Text> },
        { key: "member", title: "Member", cell: ({ member }) => <Text>{member}</Text> },
        { key: "before", title: beforeTitle(phase), right: true, cell: value("before") },
        { key: "value", title: valueTitle(phase), right: true, cell: value("value") },
        ...(phase === "outcome" ? [{ key: "after", title: "Afterwards", right: true, cell: value("after") }] : []),
        { key: "state", title: "State", cell: state },
    ];
}

function beforeTitle(phase: Phase): string {
    return phase === "plan" ? "In the controller" : "Before";
}

function valueTitle(phase: Phase): string {
    return phase === "outcome" ? "Asked for" : "To be written";
}

/** A row that is still planned belongs to an activation that was left in the middle. */
function RowState({ state, phase }: { state: string; phase: Phase }) {
    if (phase === "under way") {
        return <span class="state quiet">under way</span>;
    }
    const unknown = (
        <span class="state bad">
            <span aria-hidden="true">?</span> not known
        </span>
    );
    return state === "planned" ? unknown : <State state={state} />;
}

interface RowDialogProps {
    row: Row;
    phase: Phase;
    unit: string | undefined;
    onClose: () => void;
}

function RowDialog({ row, phase, unit, onClose }: RowDialogProps) {
    return (
        <Dialog title="One value" onClose={onClose} wide>
            <dl class="row-facts">
                <dt>Symbol</dt>
                <dd>
                    <Text long>{row.symbol}</Text>
                </dd>
                <dt>Controller</dt>
                <dd>
                    <Text long>{row.domain}</Text>
                </dd>
                <dt>Member</dt>
                <dd>
                    <Text long>{row.member}</Text>
                </dd>
                <dt>{beforeTitle(phase)}</dt>
                <dd class="pre">
                    <ValueText value={row.before} unit={unit} />
                </dd>
                <dt>{valueTitle(phase)}</dt>
                <dd class="pre">
                    <ValueText value={row.value} unit={unit} />
                </dd>
                {phase === "outcome" && (
                    <>
                        <dt>Afterwards</dt>
                        <dd class="pre">
                            <ValueText value={row.after} unit={unit} />
                        </dd>
                    </>
                )}
                <dt>State</dt>
                <dd>
                    <RowState state={row.state} phase={phase} />
                </dd>
                {row.text && (
                    <>
                        <dt>Text</dt>
                        <dd class="pre">
                            <Text long>{row.text}</Text>
                        </dd>
                    </>
                )}
            </dl>
        </Dialog>
    );
}
