import { active, refreshActive } from "../data/active";
import { link, useNews } from "../data/live";
import type { ActiveRecipe } from "../data/shapes";
import { useStore } from "../data/store";
import { Grid } from "../parts/Grid";
import type { Column } from "../parts/Grid";
import { ageText } from "../parts/Live";
import { Head } from "../parts/Shell";
import { Empty, Failure, Loading, Notice } from "../parts/State";
import { EntryName, Link, Text, Time, Who, counted } from "../parts/Text";

/** The recipes that stand in the controllers, and those of which that can't be told. */
export function Active() {
    const state = useStore(active);
    const { isOpen } = useStore(link);
    const age = useNews(() => Math.floor((Date.now() - state.asked) / 1000), [state.asked]);
    if (state.asked === 0) {
        return state.error ? (
            <Failure error={state.error} retry={() => void refreshActive()} />
        ) : (
            <Loading what="the controllers" />
        );
    }
    const isKnown = isOpen && state.isKnown;
    const look = (
        <button type="button" disabled={state.isAsking || !isOpen} onClick={() => void refreshActive()}>
            {state.isAsking ? "Looking …" : "Look again"}
        </button>
    );
    return (
        <section class={isKnown ? "view fill active-now" : "view fill active-now stale"}>
            <Head
                title="Active now"
                note={`Read ${ageText(age).replace(" old", " ago")}${isKnown ? "" : ". It may be otherwise by now."}`}
            >
                {look}
            </Head>
            {state.error && <Failure error={state.error} />}
            {state.unread.length > 0 && <Unread unread={state.unread} />}
            <Standing active={state.active} isComplete={state.unread.length === 0} />
        </section>
    );
}

function Unread({ unread }: { unread: { recipe: string; text: string }[] }) {
    return (
        <Notice kind="warn">
            <p>
                <strong>{counted(unread.length, "recipe")} could not be read:</strong> whether{" "}
                {unread.length === 1 ? "it stands" : "they stand"} in the controllers is not known.
            </p>
            <ul class="unread">
                {unread.slice(0, 100).map(({ recipe, text }) => (
                    <li>
                        <Link to="/recipe" query={{ name: recipe }}>
                            <EntryName name={recipe} />
                        </Link>{" "}
                        <span class="pre">
                            <Text long>{text}</Text>
                        </span>
                    </li>
                ))}
            </ul>
            {unread.length > 100 && <p>and {unread.length - 100} more</p>}
            <p class="quiet-text">
                See that the controllers are switched on and linked, and that their symbols are right, then look again.{" "}
                <Link to="/check">Check</Link> tells what is wrong in the configuration.
            </p>
        </Notice>
    );
}

function Standing({ active: standing, isComplete }: { active: ActiveRecipe[]; isComplete: boolean }) {
    const empty = (
        <Empty
            title={isComplete ? "No recipe stands in the controllers." : "No other recipe stands in the controllers."}
        >
            <p>
                A recipe is active while the controllers hold all of its values.{" "}
                <Link to="/recipes">Choose one to activate</Link>.
            </p>
        </Empty>
    );
    return (
        <Grid
            label="Active recipes"
            kind="active-list"
            columns={columns}
            rows={standing}
            keyOf={({ recipe }) => recipe}
            empty={empty}
        />
    );
}

const columns: Column<ActiveRecipe>[] = [
    {
        key: "recipe",
        title: "Recipe",
        cell: ({ recipe }) => (
            <Link to="/recipe" query={{ name: recipe }}>
                <EntryName name={recipe} />
            </Link>
        ),
    },
    {
        key: "since",
        title: "Activated",
        cell: ({ since }) => (since ? <Time of={since} /> : <span class="nothing">no record</span>),
    },
    { key: "by", title: "By", cell: ({ by }) => (by ? <Who of={by} /> : <span class="nothing">–</span>) },
    {
        key: "history",
        title: "History",
        cell: ({ recipe }) => (
            <Link to="/history" query={{ recipe }}>
                History
            </Link>
        ),
    },
];
