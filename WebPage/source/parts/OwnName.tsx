import { useState } from "preact/hooks";
import { Problem, request } from "../data/api";
import { leave, session } from "../data/session";
import { useStore } from "../data/store";
import { FormDialog, textIn } from "./FormDialog";
import { NewPassword } from "./NewPassword";
import { Notice } from "./State";
import { Text } from "./Text";

/** Who is signed in. Somebody with a password can give himself another one here. */
export function OwnName() {
    const who = useStore(session)?.user ?? "";
    const [isOpen, setIsOpen] = useState(false);
    const [, kind, name] = /^(?:(user|token|account):)?(.*)$/s.exec(who) ?? [];
    if (kind !== "user") {
        return (
            <span class="user">
                <Text>{name ?? ""}</Text>
            </span>
        );
    }
    return (
        <>
            <button
                type="button"
                class="quiet user"
                aria-label={`${name}: another password`}
                onClick={() => setIsOpen(true)}
            >
                <Text>{name ?? ""}</Text>
            </button>
            {isOpen && <OwnPassword onClose={() => setIsOpen(false)} />}
        </>
    );
}

function OwnPassword({ onClose }: { onClose: () => void }) {
    const change = async (form: FormData) => {
        const passwords = { old: textIn(form, "old"), new: textIn(form, "password") };
        await request("PUT", "/session/password", { text: JSON.stringify(passwords) }).catch((error: unknown) => {
            throw error instanceof Problem && error.code === "AUTH_FAILED"
                ? new Error("The old password is wrong.")
                : error;
        });
        leave("The password is changed. Sign in with the new one.");
    };
    return (
        <FormDialog title="Another password" action="Change the password" onClose={onClose} onSubmit={change}>
            <Notice kind="info">
                All your sessions end with it, here and in other browsers. Sign in with the new password then.
            </Notice>
            <label>
                Old password
                <input name="old" type="password" required autocomplete="current-password" />
            </label>
            <NewPassword title="New password" />
        </FormDialog>
    );
}
