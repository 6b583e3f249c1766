import { useEffect, useMemo, useState } from "preact/hooks";
import { readExact } from "../data/api";
import { fields, rows } from "../data/json";
import type { Json, JsonObject } from "../data/json";
import { revision } from "../data/live";
import { place } from "../data/router";
import { may } from "../data/session";
import type { HistoryItem, Row } from "../data/shapes";
import { useStore } from "../data/store";
import { useAnswer } from "../data/useAnswer";
import { countsText, PlaceTable, RowTable } from "../parts/ChangeTable";
import type { Place } from "../parts/ChangeTable";
import { Outcome } from "../parts/Outcome";
import { RevertDialog } from "../parts/RevertDialog";
import { Head } from "../parts/Shell";
import { Failure, Loading } from "../parts/State";
import { EntryName, Link, Text, Time, Who, counted } from "../parts/Text";

interface Told extends Omit<HistoryItem, "id"> {
    id: Json;
    body?: Json;
}

interface Body {
    places?: Json;
    rows?: Json;
    counts?: JsonObject;
    recipe?: string;
}

/** A record of the history with all that it changed. */
export function Record() {
    const { query } = useStore(place);
    const id = query.get("id") ?? "";
    const { history } = useStore(revision);
    // Only what has not come to its end can become another one.
    const [isOpen, setIsOpen] = useState(true);
    const { answer, error, again } = useAnswer(
        (signal) => readExact(`/history/${id}`, {}, signal),
        [id, isOpen ? history : ""],
    );
    const told = useMemo(() => answer && fields<Told>(answer), [answer]);
    const body = useMemo(() => fields<Body>(told?.body), [told]);
    const places = useMemo(() => rows<Place>(body.places), [body]);
    const changes = useMemo(() => rows<Row>(body.rows), [body]);
    const [isReverting, setIsReverting] = useState(false);
    useEffect(() => told && setIsOpen(told.outcome === "begun"), [told]);
    if (error !== undefined) {
        return <Failure error={error} retry={again} />;
    }
    if (!told) {
        return <Loading what="the record" />;
    }
    const isWritten = changes.length > 0;
    const mayRevert =
        (isWritten || places.length > 0) && (may("edit") || (may("activate") && isWritten && told.action !== "symbol"));
    return (
        <section class={places.length + changes.length > 0 ? "view fill" : "view"}>
            <Head title={`Record ${id}`} note={<Link to="/history">All records</Link>}>
                {mayRevert && (
                    <button type="button" onClick={() => setIsReverting(true)}>
                        Take back …
                    </button>
                )}
            </Head>
            <Facts told={told} recipe={body.recipe} />
            {isWritten && (
                <>
                    <h2>Written: {countsText(body.counts ?? new Map())}</h2>
                    <RowTable label="Written" rows={changes} />
                </>
            )}
            {places.length > 0 && (
                <>
                    <h2>{counted(places.length, "place")} changed</h2>
                    <PlaceTable places={places} />
                </>
            )}
            {!isWritten && places.length === 0 && (
                <p class="quiet-text">Nothing more is kept of it, and it can't be taken back.</p>
            )}
            {isReverting && <RevertDialog id={id} isWritten={isWritten} onClose={() => setIsReverting(false)} />}
        </section>
    );
}

function Facts({ told, recipe }: { told: Told; recipe: string | undefined }) {
    return (
        <dl class="facts">
            <div>
                <dt>Time</dt>
                <dd>
                    <Time of={told.time} />
                </dd>
            </div>
            <div>
                <dt>Who</dt>
                <dd>
                    <Who of={told.who} />
                </dd>
            </div>
            <div>
                <dt>Action</dt>
                <dd>{told.action}</dd>
            </div>
            <div>
                <dt>Outcome</dt>
                <dd>
                    <Outcome of={told.outcome} />
                </dd>
            </div>
            {recipe && (
                <div>
                    <dt>Recipe</dt>
                    <dd>
                        <Link to="/recipe" query={{ name: recipe }}>
                            <EntryName name={recipe} />
                        </Link>
                    </dd>
                </div>
            )}
            <div class="wide">
                <dt>Asked</dt>
                <dd class="mono">
                    <Text>{told.asked}</Text>
                </dd>
            </div>
            {told.text && (
                <div class="wide">
                    <dt>What came of it</dt>
                    <dd class="pre">
                        <Text>{told.text}</Text>
                    </dd>
                </div>
            )}
            {told.note && (
                <div class="wide">
                    <dt>Note</dt>
                    <dd class="pre">
                        <Text>{told.note}</Text>
                    </dd>
                </div>
            )}
        </dl>
    );
}
