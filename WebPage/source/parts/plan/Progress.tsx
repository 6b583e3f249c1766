import { useState } from "preact/hooks";
import { cancel } from "../../data/activation";
import type { Attempt } from "../../data/activation";
import { errorText } from "../../data/api";
import { Notice } from "../State";
import { counted } from "../Text";

/** An activation that is under way, as far as it is known. */
export function Progress({ attempt }: { attempt: Attempt }) {
    const { stage, size } = attempt;
    if (stage.name === "unknown") {
        return (
            <Notice kind="warn">
                <p class="notice-title">Whether it is written is not known yet.</p>
                <p>The answer was lost. The service is asked again until it tells; nothing is carried out twice.</p>
            </Notice>
        );
    }
    if (stage.name !== "running") {
        return (
            <div class="progress">
                <p role="status">Sent to the service …</p>
                <progress aria-label="Written" />
            </div>
        );
    }
    const { done, total, isCancelling, isHeard } = stage;
    const title = isCancelling
        ? "Being cancelled. What is on its way to a device is waited for."
        : `Writing ${counted(total || size, "value")} …`;
    return (
        <div class="progress">
            <div class="progress-line">
                <p role="status">{title}</p>
                {total > 0 && (
                    <span class="progress-count">
                        {done} of {total}
                    </span>
                )}
            </div>
            <progress aria-label="Written" {...(total > 0 ? { value: done, max: total } : {})} />
            {!isHeard && (
                <p class="quiet-text">
                    The link is lost. How far it is by now is not known; what came of it is told when the link is back.
                </p>
            )}
            {attempt.id !== undefined && <CancelButton isCancelling={isCancelling} />}
        </div>
    );
}

function CancelButton({ isCancelling }: { isCancelling: boolean }) {
    const [mistake, setMistake] = useState("");
    const stop = () => {
        setMistake("");
        cancel().catch((error: unknown) => setMistake(errorText(error)));
    };
    return (
        <div class="cancel">
            <button type="button" class="danger" disabled={isCancelling} onClick={stop}>
                Cancel
            </button>
            <span class="hint">{mistake || "What was not tried yet is not written. What is written stays."}</span>
        </div>
    );
}
