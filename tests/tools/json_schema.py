"""The part of JSON Schema (2020-12) that docs/schema uses. Refuses schemas that use more."""

import re

_TYPES = {
    "object": lambda value: isinstance(value, dict),
    "array": lambda value: isinstance(value, list),
    "string": lambda value: isinstance(value, str),
    "boolean": lambda value: isinstance(value, bool),
    "null": lambda value: value is None,
    "integer": lambda value: isinstance(value, int) and not isinstance(value, bool),
    "number": lambda value: isinstance(value, (int, float)) and not isinstance(value, bool),
}
_NOTES = {"$schema", "$defs", "title", "description"}
_KNOWN = _NOTES | {"$ref", "oneOf", "const", "enum", "type", "pattern", "minimum", "properties", "required",
                   "additionalProperties", "items"}


def problems(schema, value, root=None, path="$"):
    """Every way in which the value breaks the schema, as texts."""
    root = root or schema
    found = []
    unknown = set(schema) - _KNOWN
    if unknown:
        raise ValueError(f"schema keyword not understood: {unknown}")
    if "$ref" in schema:
        found += problems(root["$defs"][schema["$ref"].removeprefix("#/$defs/")], value, root, path)
    if "oneOf" in schema:
        results = [problems(option, value, root, path) for option in schema["oneOf"]]
        if sum(not result for result in results) != 1:
            found.append(f"{path}: fits {sum(not result for result in results)} of the alternatives; nearest: "
                         f"{min(results, key=len)[:3]}")
    if "const" in schema and value != schema["const"]:
        found.append(f"{path}: {value!r} is not {schema['const']!r}")
    if "enum" in schema and value not in schema["enum"]:
        found.append(f"{path}: {value!r} is none of {schema['enum']}")
    if "type" in schema:
        types = schema["type"] if isinstance(schema["type"], list) else [schema["type"]]
        if not any(_TYPES[name](value) for name in types):
            return found + [f"{path}: {value!r} is no {' or '.join(types)}"]
    if "pattern" in schema and isinstance(value, str) and not re.search(schema["pattern"], value):
        found.append(f"{path}: {value!r} does not match {schema['pattern']}")
    if "minimum" in schema and isinstance(value, (int, float)) and value < schema["minimum"]:
        found.append(f"{path}: {value} is below {schema['minimum']}")
    if isinstance(value, dict):
        found += [f"{path}: lacks {key}" for key in schema.get("required", []) if key not in value]
        properties = schema.get("properties", {})
        for key, member in value.items():
            if key in properties:
                found += problems(properties[key], member, root, f"{path}.{key}")
            elif schema.get("additionalProperties") is False:
                found.append(f"{path}: {key} is not in the schema")
    if isinstance(value, list) and "items" in schema:
        for index, item in enumerate(value):
            found += problems(schema["items"], item, root, f"{path}[{index}]")
    return found
