#include "vrex/internal/metamodel/MetamodelReader.hpp"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>
#include <vector>

#include "vrex/internal/metamodel/Identifiers.hpp"

namespace vrex::internal {

namespace {

#if LIBXML_VERSION >= 21200
using XmlErrorArg = const xmlError*;
#else
using XmlErrorArg = xmlError*;
#endif

constexpr std::size_t kMaxMetamodelBytes = 16 * 1024 * 1024;
constexpr std::size_t kMaxReportedErrors = 10;

std::string at(const std::string& file, long line) {
    return file + ":" + std::to_string(line) + ": ";
}

// Collects the errors libxml2 reports while it lives, each as "<file>:<line>: <message>", and
// keeps them from libxml2's default output on stderr. Installed for the calling thread only.
class XmlErrorCollector {
public:
    explicit XmlErrorCollector(std::string file)
        : file_(std::move(file)),
          previousHandler_(xmlStructuredError),
          previousContext_(xmlStructuredErrorContext) {
        xmlSetStructuredErrorFunc(this, &XmlErrorCollector::collect);
    }
    ~XmlErrorCollector() { xmlSetStructuredErrorFunc(previousContext_, previousHandler_); }
    XmlErrorCollector(const XmlErrorCollector&) = delete;
    XmlErrorCollector& operator=(const XmlErrorCollector&) = delete;

    static void collect(void* self, XmlErrorArg error) {
        static_cast<XmlErrorCollector*>(self)->add(error);
    }

    bool empty() const { return messages_.empty(); }

    // Moves the collected messages into `diagnostics` under `identifier`; `fallback` when there
    // are none.
    void report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                const std::string& fallback) {
        if (messages_.empty()) messages_.push_back(file_ + ": " + fallback);
        for (std::size_t i = 0; i < messages_.size() && i < kMaxReportedErrors; ++i) {
            diagnostics.add(identifier, messages_[i]);
        }
        messages_.clear();
    }

private:
    void add(XmlErrorArg error) {
        if (error == nullptr || error->level < XML_ERR_ERROR) return;
        std::string message = error->message != nullptr ? error->message : "unknown XML error";
        while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) {
            message.pop_back();
        }
        messages_.push_back(at(file_, error->line) + message);
    }

    std::string file_;
    xmlStructuredErrorFunc previousHandler_;
    void* previousContext_;
    std::vector<std::string> messages_;
};

struct DocumentDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

bool readFileText(const std::string& file, std::string& text, tvdiag::util::diagnostics& diagnostics) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        diagnostics.add("vrex:metamodel:unreadable",
                        file + ": cannot read the metamodel: " +
                            (error ? error.message() : std::string("not a regular file")));
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (!in || buffer.str().size() > kMaxMetamodelBytes) {
        diagnostics.add("vrex:metamodel:unreadable",
                        file + ": cannot read the metamodel: " +
                            (in ? "larger than 16 MiB" : std::strerror(errno)));
        return false;
    }
    text = buffer.str();
    return true;
}

// Never loads anything from the network or from DTDs; entities are not expanded.
Document parse(const std::string& text, const std::string& file) {
    return Document(xmlReadMemory(text.data(), static_cast<int>(text.size()), file.c_str(), nullptr,
                                  XML_PARSE_NONET));
}

bool validate(xmlDoc* document) {
    const char* schemaText = metamodelSchemaText();
    xmlSchemaParserCtxt* parser =
        xmlSchemaNewMemParserCtxt(schemaText, static_cast<int>(std::strlen(schemaText)));
    xmlSchema* schema = parser != nullptr ? xmlSchemaParse(parser) : nullptr;
    xmlSchemaValidCtxt* validator = schema != nullptr ? xmlSchemaNewValidCtxt(schema) : nullptr;
    bool valid = validator != nullptr && xmlSchemaValidateDoc(validator, document) == 0;
    if (validator != nullptr) xmlSchemaFreeValidCtxt(validator);
    if (schema != nullptr) xmlSchemaFree(schema);
    if (parser != nullptr) xmlSchemaFreeParserCtxt(parser);
    return valid;
}

std::string trimmed(std::string text) {
    const char* blanks = " \t\r\n";
    std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return std::string();
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string attribute(xmlNode* node, const char* name) {
    xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    if (value == nullptr) return std::string();
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

std::vector<xmlNode*> childElements(xmlNode* parent, const char* name) {
    std::vector<xmlNode*> elements;
    for (xmlNode* node = parent->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE &&
            std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0) {
            elements.push_back(node);
        }
    }
    return elements;
}

// Turns a schema-valid document into a Metamodel, checking the rules the schema cannot state.
class MetamodelBuilder {
public:
    MetamodelBuilder(const std::string& file, tvdiag::util::diagnostics& diagnostics)
        : file_(file), diagnostics_(diagnostics) {}

    std::shared_ptr<const Metamodel> build(xmlNode* root) {
        auto model = std::make_shared<Metamodel>(file_, attribute(root, "name"),
                                                 trimmed(attribute(root, "version")));
        for (xmlNode* package : childElements(root, "package")) addPackage(*model, package);
        if (failed_) return nullptr;
        return model;
    }

private:
    void addPackage(Metamodel& model, xmlNode* node) {
        PackageInfo& package = model.addPackage(attribute(node, "name"), xmlGetLineNo(node));
        for (xmlNode* cls : childElements(node, "class")) addClass(model, package, cls);
    }

    void addClass(Metamodel& model, PackageInfo& package, xmlNode* node) {
        std::string name = attribute(node, "name");
        long line = xmlGetLineNo(node);
        checkName("class", name, line, classNames_);
        ClassInfo& cls = model.addClass(package, name, line);
        std::set<std::string> propertyNames;
        for (xmlNode* property : childElements(node, "property")) {
            addProperty(model, cls, property, propertyNames);
        }
    }

    void addProperty(Metamodel& model, ClassInfo& cls, xmlNode* node,
                     std::set<std::string>& propertyNames) {
        std::string name = attribute(node, "name");
        long line = xmlGetLineNo(node);
        checkName("property", cls.name + "." + name, line, propertyNames);
        PropertyKind kind =
            attribute(node, "kind") == "object" ? PropertyKind::Object : PropertyKind::Text;
        std::string indexedText = trimmed(attribute(node, "indexed"));
        bool indexed = indexedText == "true" || indexedText == "1";
        if (indexed && kind != PropertyKind::Text) {
            fail(line, "property " + cls.name + "." + name +
                           ": only text properties can be indexed");
        }
        model.addProperty(cls, name, kind, indexed, line);
    }

    // Names become SQL table and column names, which SQL compares ignoring ASCII case.
    void checkName(const char* what, const std::string& qualifiedName, long line,
                   std::set<std::string>& seen) {
        std::string key = asciiLowercase(qualifiedName);
        std::string ownName = key.substr(key.rfind('.') + 1);
        if (ownName.rfind("sqlite_", 0) == 0) {
            fail(line, std::string(what) + " " + qualifiedName +
                           ": names beginning with \"sqlite_\" are reserved");
        }
        if (!seen.insert(key).second) {
            fail(line, std::string(what) + " " + qualifiedName +
                           ": declared twice (names are compared ignoring case)");
        }
    }

    void fail(long line, const std::string& message) {
        diagnostics_.add("vrex:metamodel:invalid", at(file_, line) + message);
        failed_ = true;
    }

    const std::string& file_;
    tvdiag::util::diagnostics& diagnostics_;
    std::set<std::string> classNames_;
    bool failed_ = false;
};

}  // namespace

std::shared_ptr<const Metamodel> MetamodelReader::read(const std::string& file,
                                                       tvdiag::util::diagnostics& diagnostics) {
    std::string text;
    if (!readFileText(file, text, diagnostics)) return nullptr;
    xmlInitParser();
    XmlErrorCollector errors(file);
    Document document = parse(text, file);
    if (document == nullptr || xmlDocGetRootElement(document.get()) == nullptr) {
        errors.report(diagnostics, "vrex:metamodel:malformed", "not an XML document");
        return nullptr;
    }
    if (!validate(document.get())) {
        errors.report(diagnostics, "vrex:metamodel:invalid", "does not follow the metamodel schema");
        return nullptr;
    }
    MetamodelBuilder builder(file, diagnostics);
    return builder.build(xmlDocGetRootElement(document.get()));
}

}  // namespace vrex::internal
