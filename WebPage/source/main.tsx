import "./style/page.css";
import { render } from "preact";
import { useEffect, useRef } from "preact/hooks";
import { startActive } from "./data/active";
import { startLive } from "./data/live";
import { startLists } from "./data/recipes";
import { place, startRouter } from "./data/router";
import { begin, session } from "./data/session";
import { useStore } from "./data/store";
import { titleOf } from "./data/titles";
import { useView } from "./data/views";
import { Shell } from "./parts/Shell";
import { Failure } from "./parts/State";
import { SignIn } from "./views/SignIn";

function App() {
    const signedIn = useStore(session);
    const { path, query } = useStore(place);
    const isOperator = signedIn?.role === "operator";
    const shown = path === "/" ? (isOperator ? "/operator" : "/recipes") : path;
    const title = signedIn ? titleOf({ path: shown, query }) : "Ravik";
    useEffect(() => void (document.title = title), [title]);
    useArrival(path + (query.get("name") ?? ""));
    if (signedIn === undefined) {
        return <main class="starting" aria-busy="true" />;
    }
    if (signedIn === null) {
        return <SignIn />;
    }
    return shown === "/operator" ? (
        <View path={shown} />
    ) : (
        <Shell>
            <View path={shown} />
        </Shell>
    );
}

function View({ path }: { path: string }) {
    const { Shown, error, again } = useView(path);
    if (error) {
        return <Failure error={error} retry={again} />;
    }
    return Shown ? <Shown key={path} /> : <div class="starting" aria-busy="true" />;
}

/** The keyboard goes on in the new view where the old one had it. */
function useArrival(at: string): void {
    const before = useRef(at);
    useEffect(() => {
        if (before.current !== at && document.activeElement === document.body) {
            document.querySelector<HTMLElement>("main")?.focus({ preventScroll: true });
        }
        before.current = at;
    }, [at]);
}

startRouter();
startLive();
startActive();
startLists();
render(<App />, document.body);
void begin();
