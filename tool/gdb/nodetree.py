"""Shows nodes in gdb as their values:  (gdb) source nodetree.py"""

import gdb
import gdb.printing

KINDS = "null object array integer real string boolean link".split()
CHILDREN_AT_MOST = 1000000  # a damaged list may have no end


class NodePrinter:
    def __init__(self, node):
        self.node = node
        number = int(node["type"])
        self.kind = KINDS[number] if number < len(KINDS) else f"unknown kind {number}"

    def to_string(self):
        value = self.node["value"]
        if self.kind in ("object", "array"):
            return f"{self.kind} of {int(self.node['child_count'])}"
        if self.kind == "null":
            return "null"
        if self.kind == "link":
            return "link to " + "/".join(self.link_path(value["link_path"]))
        if self.kind in ("integer", "real", "string", "boolean"):
            return value[self.kind]
        return self.kind

    @staticmethod
    def link_path(segments):
        while segments and segments.dereference():
            yield segments.dereference().string(errors="replace")
            segments += 1

    def children(self):
        if self.kind not in ("object", "array"):
            return
        head = self.node["value"]["children"]
        list_entry = next(f for f in self.node.type.strip_typedefs().fields()
                          if f.name == "list_entry")
        entry = head["next"]
        for index in range(CHILDREN_AT_MOST):
            if entry == head.address:
                return
            start = entry.cast(gdb.lookup_type("char").pointer()) - list_entry.bitpos // 8
            child = start.cast(self.node.type.strip_typedefs().pointer()).dereference()
            if self.kind == "object":
                yield f"key{index}", child["key"].string(errors="replace")
            yield f"value{index}", child
            entry = entry["next"]

    def display_hint(self):
        return {"object": "map", "array": "array"}.get(self.kind)


class Nothing:
    @staticmethod
    def to_string():
        return "nothing"


def handle(value):
    """The node of a Node, View or Ref of C++."""
    return NodePrinter(value["raw_"].dereference()) if value["raw_"] else Nothing()


printers = gdb.printing.RegexpCollectionPrettyPrinter("nodetree")
printers.add_printer("node", "^node$", NodePrinter)
printers.add_printer("handle", "^nodetree::(Node|View|Ref)$", handle)
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
