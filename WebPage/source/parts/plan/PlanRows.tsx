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

interface PlanRowsProps {
    rows: Row[];
    isOutcome: boolean;
    units: ReadonlyMap<string, string>;
    empty: string;
}

/** The rows of a plan or an outcome; one is shown in full at a click. */
export function PlanRows({ rows, isOutcome, units, empty }: PlanRowsProps) {
    const [opened, setOpened] = useState<Keyed>();
    const keyed = useMemo(() => rows.map((row, index) => ({ ...row, key: String(index) })), [rows]);
    const columns = useMemo(() => columnsOf(isOutcome, units), [isOutcome, units]);
    return (
        <>
            <Grid
                label={isOutcome ? "The outcome" : "The plan"} kind={isOutcome ? "outcome-rows" : "plan-rows"}
                columns={columns} rows={keyed} keyOf={({ key }) => key} onOpen={setOpened} empty={<Empty title={empty} />}
            />
            {opened && <RowDialog row={opened} isOutcome={isOutcome} unit={units.get(opened.symbol)} onClose={() => setOpened(undefined)} />}
        </>
    );
}

function columnsOf(isOutcome: boolean, units: ReadonlyMap<string, string>): Column<Keyed>[] {
    const value = (name: "before" | "value" | "after") => (row: Keyed) => <ValueText value={row[name]} unit={units.get(row.symbol)} />;
    const state = ({ state: name, text }: Keyed) => (
        <><RowState state={name} />{text && <span class="row-text"><Text>{text}</Text></span>}</>
    );
    return [
        { key: "symbol", title: "Symbol", cell: ({ symbol }) => <Text>{symbol}</Text> },
        { key: "member", title: "Member", cell: ({ member }) => <Text>{member}</Text> },
        { key: "before", title: isOutcome ? "Before" : "In the controller", right: true, cell: value("before") },
        { key: "value", title: isOutcome ? "Asked for" : "To be written", right: true, cell: value("value") },
        ...(isOutcome ? [{ key: "after", title: "Afterwards", right: true, cell: value("after") }] : []),
        { key: "state", title: "State", cell: state },
    ];
}

/** A row that is still planned belongs to an activation that was left in the middle. */
function RowState({ state }: { state: string }) {
    return state === "planned" ? <span class="state bad"><span aria-hidden="true">?</span> not known</span> : <State state={state} />;
}

interface RowDialogProps {
    row: Row;
    isOutcome: boolean;
    unit: string | undefined;
    onClose: () => void;
}

function RowDialog({ row, isOutcome, unit, onClose }: RowDialogProps) {
    return (
        <Dialog title="One value" onClose={onClose} wide>
            <dl class="row-facts">
                <dt>Symbol</dt><dd><Text long>{row.symbol}</Text></dd>
                <dt>Controller</dt><dd><Text long>{row.domain}</Text></dd>
                <dt>Member</dt><dd><Text long>{row.member}</Text></dd>
                <dt>{isOutcome ? "Before" : "In the controller"}</dt><dd class="pre"><ValueText value={row.before} unit={unit} /></dd>
                <dt>{isOutcome ? "Asked for" : "To be written"}</dt><dd class="pre"><ValueText value={row.value} unit={unit} /></dd>
                {isOutcome && <><dt>Afterwards</dt><dd class="pre"><ValueText value={row.after} unit={unit} /></dd></>}
                <dt>State</dt><dd><RowState state={row.state} /></dd>
                {row.text && <><dt>Text</dt><dd class="pre"><Text long>{row.text}</Text></dd></>}
            </dl>
        </Dialog>
    );
}
