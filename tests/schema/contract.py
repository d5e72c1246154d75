"""The schemas of docs/schema, ready to be held against documents."""

import json
import math
import pathlib

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
NAMES = ("request", "response", "error", "record")
SCHEMAS = {
    f"{name}.schema.json": json.loads((ROOT / f"docs/schema/{name}.schema.json").read_text())
    for name in NAMES
}
RECORD = SCHEMAS["record.schema.json"]["$defs"]

# To a schema 5.0 is an integer as 5 is. What the library writes is looked at more closely.
_STRICT = jsonschema.validators.extend(
    jsonschema.Draft202012Validator,
    type_checker=jsonschema.Draft202012Validator.TYPE_CHECKER.redefine(
        "integer", lambda _, value: isinstance(value, int) and not isinstance(value, bool)
    ),
)


def validator(reference, written=False):
    """The validator of a schema, or of a part of one: "record.schema.json#/$defs/sent"."""
    # A schema that names its dialect would be given that dialect's own validator, not the strict one.
    store = {
        name: {key: part for key, part in schema.items() if key != "$schema"}
        for name, schema in SCHEMAS.items()
    }
    resolver = jsonschema.RefResolver(base_uri="", referrer={}, store=store)
    kind = _STRICT if written else jsonschema.Draft202012Validator
    return kind(
        {"$ref": reference}, resolver=resolver, format_checker=jsonschema.FormatChecker(["uuid"])
    )


REQUEST = validator("request.schema.json")
RESPONSE = validator("response.schema.json", written=True)
ERROR = validator("error.schema.json", written=True)
SENT = validator("record.schema.json")
WRITTEN = validator("record.schema.json#/$defs/written", written=True)


def parsed(text):
    """JSON as the library reads it: a number that no double can hold is no number."""

    def real(digits):
        number = float(digits)
        return number if math.isfinite(number) else digits

    return json.loads(text, parse_float=real)


def faults(validator, document):
    """What a schema refuses in a document: (path, rule, sentence), the innermost ones."""
    found = []
    for error in validator.iter_errors(document):
        path = "/".join(str(step) for step in error.absolute_path)
        found.append((path, error.validator, error.message[:200]))
    return found


def response_faults(response):
    return faults(ERROR if "error" in response else RESPONSE, response)
