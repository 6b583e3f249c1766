import { useState } from "preact/hooks";
import { errorText, Problem } from "../data/api";
import { signIn, signInNote } from "../data/session";
import { useStore } from "../data/store";
import { Notice } from "../parts/State";

export function SignIn() {
    const note = useStore(signInNote);
    const [byToken, setByToken] = useState(false);
    const [mistake, setMistake] = useState("");
    const [isBusy, setIsBusy] = useState(false);
    const submit = async (event: SubmitEvent) => {
        event.preventDefault();
        const form = new FormData(event.target as HTMLFormElement);
        const text = (name: string) => String(form.get(name) ?? "");
        setIsBusy(true);
        setMistake("");
        try {
            await signIn(
                byToken ? { token: text("token").trim() } : { user: text("user"), password: text("password") },
            );
        } catch (error) {
            const isWrong = error instanceof Problem && error.status === 401;
            setMistake(
                isWrong
                    ? byToken
                        ? "This token is not known."
                        : "The user or the password is wrong."
                    : errorText(error),
            );
            setIsBusy(false);
        }
    };
    return (
        <main class="sign-in">
            <form onSubmit={submit}>
                <div class="brand">
                    <img src="/icon.svg" alt="" width="32" height="32" />
                    <h1>Ravik</h1>
                </div>
                {note && <Notice kind="info">{note}</Notice>}
                {mistake && <Notice kind="bad">{mistake}</Notice>}
                {byToken ? (
                    <label>
                        Token
                        <input name="token" type="password" required autocomplete="off" key="token" />
                    </label>
                ) : (
                    <>
                        <label>
                            User
                            <input name="user" required autocomplete="username" autocapitalize="none" />
                        </label>
                        <label>
                            Password
                            <input name="password" type="password" required autocomplete="current-password" />
                        </label>
                    </>
                )}
                <button type="submit" class="primary" disabled={isBusy}>
                    Sign in
                </button>
                <button type="button" class="quiet" onClick={() => setByToken(!byToken)}>
                    {byToken ? "With a user and password" : "With a token"}
                </button>
            </form>
        </main>
    );
}
