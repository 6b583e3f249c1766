import { useState } from "preact/hooks";
import type { Entry } from "../../data/api";
import { write } from "../../data/json";
import type { Json, JsonObject } from "../../data/json";
import { merged, piecesOf } from "../../data/type_entry";
import type { Piece } from "../../data/type_entry";
import { Dialog } from "../Dialog";
import { Actions, Form } from "../EntryDialogs";
import { counted, Text } from "../Text";

interface ConflictProps {
    before: JsonObject;
    theirs: Entry;
    mine: JsonObject;
    onClose: () => void;
    onGoOn: (base: Entry, entry: JsonObject) => void;
}

const keyOf = ({ key, member }: Piece) => (member === undefined ? key : `member ${member}`);

/** Somebody was faster: each part that either has changed, as it was, as they have it and as I have it. */
export function Conflict({ before, theirs, mine, onClose, onGoOn }: ConflictProps) {
    const pieces = piecesOf(before, theirs.value, mine);
    const contested = pieces.filter(({ isContested }) => isContested).length;
    const [chosen, setChosen] = useState<ReadonlyMap<string, boolean>>(
        () => new Map(pieces.map((piece) => [keyOf(piece), isOnlyMine(piece)])),
    );
    const open = [...chosen].length;
    const goOn = () =>
        onGoOn(
            theirs,
            merged(before, theirs.value, mine, (piece) => chosen.get(keyOf(piece)) === true),
        );
    return (
        <Dialog title="Somebody has saved this type meanwhile" onClose={onClose} wide>
            <Form onSubmit={goOn}>
                <p>
                    Nothing of yours is lost, and nothing is stored yet.{" "}
                    {contested === 0
                        ? "Both changed different parts; both are kept."
                        : `${counted(contested, "part was", "parts were")} changed by both: choose which to keep.`}
                </p>
                {open > 0 && (
                    <div class="pieces">
                        {pieces.map((piece) => (
                            <PieceRow
                                key={keyOf(piece)}
                                piece={piece}
                                isMine={chosen.get(keyOf(piece)) === true}
                                onChoose={(isMine) => setChosen(new Map(chosen).set(keyOf(piece), isMine))}
                            />
                        ))}
                    </div>
                )}
                <Actions onClose={onClose}>
                    <button type="button" class="danger" onClick={() => onGoOn(theirs, theirs.value)}>
                        Drop all of mine
                    </button>
                    <button type="submit" class="primary">
                        Go on with these
                    </button>
                </Actions>
            </Form>
        </Dialog>
    );
}

/** What both have changed is mine until I say otherwise: I was about to save it. */
function isOnlyMine({ before, theirs, mine, isContested }: Piece): boolean {
    return isContested || textOf(theirs) === textOf(before) || textOf(mine) === textOf(theirs);
}

function PieceRow({ piece, isMine, onChoose }: { piece: Piece; isMine: boolean; onChoose: (isMine: boolean) => void }) {
    const name = keyOf(piece);
    const option = (title: string, value: Json | undefined, takesMine: boolean) => (
        <label class="piece-choice">
            <span>
                <input type="radio" name={name} checked={isMine === takesMine} onChange={() => onChoose(takesMine)} />{" "}
                {title}
            </span>
            <code class="pre">{textOf(value)}</code>
        </label>
    );
    return (
        <fieldset class="piece">
            <legend>
                <Text>{piece.member ?? piece.key}</Text>
                {piece.isContested && (
                    <span class="state warn mark">
                        <span aria-hidden="true">!</span> changed by both
                    </span>
                )}
            </legend>
            <div class="piece-choice">
                <span class="quiet-text">Before</span>
                <code class="pre">{textOf(piece.before)}</code>
            </div>
            {option("Theirs", piece.theirs, false)}
            {option("Mine", piece.mine, true)}
        </fieldset>
    );
}

function textOf(value: Json | undefined): string {
    return value === undefined ? "(not there)" : write(value, "  ");
}
