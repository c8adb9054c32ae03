"""Documentation texts of the generated classes, written from the class catalogue.

help() on a class shows its docstring (constructors, properties, methods) and each property's
and method's own docstring.
"""

_INDENT = "    "


def _lines(title, entries):
    if not entries:
        return []
    return ["", title] + [_INDENT + entry for entry in entries]


def _property_line(member):
    notes = []
    if member["read_only"]:
        notes.append("read-only")
    if member["hidden"]:
        notes.append("not shown by repr()")
    line = f"{member['name']}: {member['python_type']}"
    return line + (f" ({', '.join(notes)})" if notes else "")


def class_doc(record, superclass_name, closable):
    """The docstring of the class that `record` (one entry of the catalogue) describes."""
    lines = [record["description"] or record["short_name"], "",
             f"Published class {record['name']}, a subclass of {superclass_name}."]
    constructors = [entry["usage"] for entry in record["constructors"]]
    if constructors:
        lines += _lines("Constructors (the first that fits the arguments is used):", constructors)
        lines += ["Keyword arguments set published properties after construction."]
    else:
        lines += ["", "No published constructor: objects of this class come from the registry",
                  "or are made through a subclass."]
    lines += _lines("Properties (besides inherited ones):",
                    [_property_line(member) for member in record["properties"]])
    lines += _lines("Methods (besides inherited ones):",
                    [member["usage"] for member in record["methods"] if not member["hidden"]])
    if closable:
        lines += ["", "A context manager: leaving a `with` block calls finalize() (which writes",
                  "the write cache) and close() (which releases the registry file); it raises",
                  "Error when cached entries are left unwritten (see RegistryLifetime)."]
    return "\n".join(lines)


def property_doc(member):
    """The docstring of one published property."""
    text = f"{member['python_type']} (published type '{member['type']}')."
    if member["read_only"]:
        text += " Read-only."
    if member["dependent"]:
        text += " Follows from other properties; assigning it overrides what they give."
    if member["hidden"]:
        text += " Not shown by repr()."
    return text


def method_doc(member):
    """The docstring of one published method."""
    return f"{member['usage']}\n\nPublished signature: {member['signature']}"
