import "./style/page.css";
import { render } from "preact";
import { startActive } from "./data/active";
import { startLive } from "./data/live";
import { startLists } from "./data/recipes";
import { place, startRouter } from "./data/router";
import { begin, session } from "./data/session";
import { useStore } from "./data/store";
import { useView } from "./data/views";
import { Shell } from "./parts/Shell";
import { Failure } from "./parts/State";
import { SignIn } from "./views/SignIn";

function App() {
    const signedIn = useStore(session);
    const { path } = useStore(place);
    if (signedIn === undefined) {
        return <main class="starting" aria-busy="true" />;
    }
    if (signedIn === null) {
        return <SignIn />;
    }
    const isOperator = signedIn.role === "operator";
    const shown = path === "/" ? (isOperator ? "/operator" : "/recipes") : path;
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

startRouter();
startLive();
startActive();
startLists();
render(<App />, document.body);
void begin();
