#include "XmlTree.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <expat.h>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <type_traits>
#include <unordered_map>

#include "Errors.h"
#include "XmlTagScan.h"

namespace RtiqnFom {

namespace {

constexpr int theChunkSize = 1 << 20;
constexpr std::size_t theUsualElement_bytes = 40;
constexpr std::size_t theMostReserved_bytes = std::size_t(64) << 20;

std::string_view withoutPrefix(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view prefixOf(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
}

bool isNamespaceDeclaration(std::string_view attribute) {
    return attribute == "xmlns" || prefixOf(attribute) == "xmlns";
}

/// Whether a document that begins like this has characters of two bytes.
bool isTwoByteEncoding(const char* bytes, std::size_t size) {
    if (size < 2)
        return false;
    const bool byteOrderMark = bytes[0] == '\xFE' && bytes[1] == '\xFF';
    const bool otherByteOrderMark = bytes[0] == '\xFF' && bytes[1] == '\xFE';
    return byteOrderMark || otherByteOrderMark || bytes[0] == '\0' || bytes[1] == '\0';
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// 0 for what is no regular file.
std::size_t sizeOf(std::FILE* file) {
    struct stat status;
    if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    return static_cast<std::size_t>(status.st_size);
}

[[noreturn]] void throwReadError(const std::string& path) {
    throw FileError("cannot read " + path + ": " + std::strerror(errno));
}

}  // namespace

/// Fills a tree from the parser's calls. No exception crosses the parser: the first one is kept,
/// the parser is stopped, and `parse` throws it.
class XmlTreeBuilder {
public:
    XmlTreeBuilder(XmlTree& tree, const std::string& path);

    void parse();

private:
    using ParserHandle =
        std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)>;

    template <typename Work>
    void guarded(Work work) noexcept;
    template <typename Work>
    static void call(void* builder, Work work) noexcept;
    void reserveFor(std::size_t fileSize_bytes);
    void setHandlers();
    [[noreturn]] void throwParseError() const;

    void startElement(const char* name, const char** attributes);
    void endElement();
    void addText(const char* text, int length);
    void startDoctype();
    [[noreturn]] void refuse(const std::string& what) const;

    using Position = XmlTagScan::Position;

    void addAttributes(const char** attributes, Position tag);
    const XmlTagScan& scannedTag(Position tag);
    void takeRootNamespace(std::string_view rootName, const char** attributes);
    std::uint32_t nameIndex(std::string_view name);
    std::uint32_t checkedSize(std::size_t size) const;
    Position here() const;

    struct OpenElement {
        XmlTree::Node node;
        XmlTree::Node lastChild;
    };

    XmlTree& tree_;
    const std::string& path_;
    ParserHandle parser_;
    std::exception_ptr failure_;
    bool twoByteEncoding_ = false;
    std::vector<OpenElement> open_;
    std::unordered_map<std::string_view, std::uint32_t> nameIndexes_;  ///< of texts in the tree
    XmlTagScan scan_;
};

XmlTreeBuilder::XmlTreeBuilder(XmlTree& tree, const std::string& path)
    : tree_(tree), path_(path), parser_(XML_ParserCreate(nullptr), &XML_ParserFree) {
    if (!parser_)
        throw std::bad_alloc();
    setHandlers();
}

void XmlTreeBuilder::parse() {
    const File file(std::fopen(path_.c_str(), "rb"));
    if (!file)
        throwReadError(path_);
    reserveFor(sizeOf(file.get()));
    for (bool first = true, last = false; !last; first = false) {
        void* buffer = XML_GetBuffer(parser_.get(), theChunkSize);
        if (!buffer)
            throw std::bad_alloc();
        const std::size_t size = std::fread(buffer, 1, theChunkSize, file.get());
        if (std::ferror(file.get()))
            throwReadError(path_);
        if (first)
            twoByteEncoding_ = isTwoByteEncoding(static_cast<const char*>(buffer), size);
        last = size < theChunkSize;
        const XML_Status status = XML_ParseBuffer(parser_.get(), static_cast<int>(size), last);
        if (failure_)
            std::rethrow_exception(failure_);
        if (status != XML_STATUS_OK)
            throwParseError();
    }
}

/// Growing step by step would touch twice the memory; what is reserved and not used costs nothing.
void XmlTreeBuilder::reserveFor(std::size_t fileSize_bytes) {
    const std::size_t size = std::min(fileSize_bytes, theMostReserved_bytes);
    tree_.text_.reserve(size);
    tree_.nodes_.reserve(size / theUsualElement_bytes);
}

template <typename Work>
void XmlTreeBuilder::guarded(Work work) noexcept {
    if (failure_)
        return;
    try {
        work();
    } catch (...) {
        failure_ = std::current_exception();
        XML_StopParser(parser_.get(), XML_FALSE);
    }
}

template <typename Work>
void XmlTreeBuilder::call(void* builder, Work work) noexcept {
    auto& self = *static_cast<XmlTreeBuilder*>(builder);
    self.guarded([&] { work(self); });
}

void XmlTreeBuilder::setHandlers() {
    XML_Parser parser = parser_.get();
    XML_SetUserData(parser, this);
    XML_SetElementHandler(
        parser,
        [](void* user, const char* name, const char** attributes) {
            call(user, [&](XmlTreeBuilder& self) { self.startElement(name, attributes); });
        },
        [](void* user, const char*) {
            call(user, [](XmlTreeBuilder& self) { self.endElement(); });
        });
    XML_SetCharacterDataHandler(parser, [](void* user, const char* text, int length) {
        call(user, [&](XmlTreeBuilder& self) { self.addText(text, length); });
    });
    XML_SetStartDoctypeDeclHandler(
        parser, [](void* user, const char*, const char*, const char*, int) {
            call(user, [](XmlTreeBuilder& self) { self.startDoctype(); });
        });
    XML_SetEntityDeclHandler(parser, [](void* user, const char* name, int, const char*, int,
                                        const char*, const char*, const char*, const char*) {
        call(user, [&](XmlTreeBuilder& self) {
            self.refuse("the entity \"" + std::string(name) + "\" is declared; no module may");
        });
    });
    XML_SetSkippedEntityHandler(parser, [](void* user, const char* name, int) {
        call(user, [&](XmlTreeBuilder& self) {
            self.refuse("the entity \"" + std::string(name) + "\" is not defined");
        });
    });
}

void XmlTreeBuilder::throwParseError() const {
    const XML_Error code = XML_GetErrorCode(parser_.get());
    if (code == XML_ERROR_NO_MEMORY)
        throw std::bad_alloc();
    refuse(std::string("this is not well-formed XML: ") + XML_ErrorString(code));
}

void XmlTreeBuilder::startElement(const char* name, const char** attributes) {
    if (open_.size() == XmlTree::theMaxDepth)
        refuse("elements are nested deeper than " + std::to_string(XmlTree::theMaxDepth));
    if (open_.empty())
        takeRootNamespace(name, attributes);
    const Position position = here();
    const auto node = static_cast<XmlTree::Node>(tree_.nodes_.size());
    const std::uint32_t textBegin = checkedSize(tree_.text_.size());
    tree_.nodes_.push_back({nameIndex(withoutPrefix(name)), XmlTree::theNoNode, XmlTree::theNoNode,
                            textBegin, textBegin, checkedSize(tree_.attributes_.size()),
                            position.line, position.column});
    if (!open_.empty()) {
        OpenElement& parent = open_.back();
        if (parent.lastChild == XmlTree::theNoNode)
            tree_.nodes_[parent.node].firstChild = node;
        else
            tree_.nodes_[parent.lastChild].nextSibling = node;
        parent.lastChild = node;
    }
    open_.push_back({node, XmlTree::theNoNode});
    if (attributes[0])
        addAttributes(attributes, position);
}

void XmlTreeBuilder::endElement() {
    tree_.nodes_[open_.back().node].textEnd = checkedSize(tree_.text_.size());
    open_.pop_back();
}

void XmlTreeBuilder::addText(const char* text, int length) {
    tree_.text_.append(text, static_cast<std::size_t>(length));
}

/// With an outside DTD the parser passes over undefined entities in attribute values. They are
/// found by looking at the tag, which takes an encoding that agrees with ASCII.
void XmlTreeBuilder::startDoctype() {
    if (twoByteEncoding_)
        refuse("a DOCTYPE is not supported in a document with characters of two bytes");
}

void XmlTreeBuilder::refuse(const std::string& what) const {
    const Position position = here();
    throw MalformedModule({tree_.file_, position.line, position.column}, what);
}

/// Defaults from a DOCTYPE are not taken: a long one would count for every element without the
/// attribute.
void XmlTreeBuilder::addAttributes(const char** attributes, Position tag) {
    const XmlTagScan& scan = scannedTag(tag);
    const auto count = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(parser_.get()) / 2);
    for (std::size_t index = 0; index < count; ++index) {
        const std::string_view name = attributes[2 * index];
        if (isNamespaceDeclaration(name))
            continue;
        const std::uint32_t begin = checkedSize(tree_.attributeText_.size());
        tree_.attributeText_ += attributes[2 * index + 1];
        const bool scanned = index < scan.attributes.size();
        tree_.attributes_.push_back({nameIndex(withoutPrefix(name)), begin,
                                     checkedSize(tree_.attributeText_.size()),
                                     scanned ? scan.attributes[index].line : tag.line,
                                     scanned ? scan.attributes[index].column : tag.column});
    }
}

const XmlTagScan& XmlTreeBuilder::scannedTag(Position tag) {
    scan_.attributes.clear();
    if (twoByteEncoding_)
        return scan_;
    int offset = 0;
    int size = 0;
    const char* context = XML_GetInputContext(parser_.get(), &offset, &size);
    const int length = XML_GetCurrentByteCount(parser_.get());
    if (!context || length > size - offset)
        return scan_;
    const std::string_view text(context + offset, static_cast<std::size_t>(length));
    scan_.scan(text, tag.line, tag.column);
    if (!scan_.undefinedEntity.empty())
        refuse("the entity \"" + scan_.undefinedEntity + "\" is not defined");
    return scan_;
}

void XmlTreeBuilder::takeRootNamespace(std::string_view rootName, const char** attributes) {
    const std::string prefix(prefixOf(rootName));
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + prefix;
    for (; attributes[0]; attributes += 2) {
        if (declaration == attributes[0])
            tree_.rootNamespace_ = attributes[1];
    }
}

std::uint32_t XmlTreeBuilder::nameIndex(std::string_view name) {
    const auto found = nameIndexes_.find(name);
    if (found != nameIndexes_.end())
        return found->second;
    const std::uint32_t index = checkedSize(tree_.names_.size());
    nameIndexes_.emplace(tree_.names_.emplace_back(name), index);
    return index;
}

/// Positions in the tree have 32 bits; the greatest one is no position.
std::uint32_t XmlTreeBuilder::checkedSize(std::size_t size) const {
    if (size >= std::numeric_limits<std::uint32_t>::max())
        refuse("the module is too large");
    return static_cast<std::uint32_t>(size);
}

XmlTagScan::Position XmlTreeBuilder::here() const {
    return {static_cast<unsigned>(XML_GetCurrentLineNumber(parser_.get())),
            static_cast<unsigned>(XML_GetCurrentColumnNumber(parser_.get()) + 1)};
}

// ------------------------------------------------------------------------------------------------

XmlTree::XmlTree(const std::string& path) : file_(std::make_shared<const std::string>(path)) {
    XmlTreeBuilder(*this, path).parse();
}

std::string_view XmlTree::text(Node node) const {
    const Element& element = nodes_[node];
    return std::string_view(text_).substr(element.textBegin, element.textEnd - element.textBegin);
}

XmlTree::Children XmlTree::children(Node node) const {
    return {this, nodes_[node].firstChild};
}

XmlTree::Attributes XmlTree::attributes(Node node) const {
    const std::size_t end =
        node + 1 < nodes_.size() ? nodes_[node + 1].firstAttribute : attributes_.size();
    return {this, nodes_[node].firstAttribute, static_cast<std::uint32_t>(end)};
}

Place XmlTree::place(Node node) const {
    return {file_, nodes_[node].line, nodes_[node].column};
}

std::string_view XmlTree::Attributes::name(std::uint32_t index) const {
    return tree_->names_[tree_->attributes_[first_ + index].name];
}

std::string_view XmlTree::Attributes::value(std::uint32_t index) const {
    const AttributeValue& attribute = tree_->attributes_[first_ + index];
    return std::string_view(tree_->attributeText_)
        .substr(attribute.begin, attribute.end - attribute.begin);
}

Place XmlTree::Attributes::place(std::uint32_t index) const {
    const AttributeValue& attribute = tree_->attributes_[first_ + index];
    return {tree_->file_, attribute.line, attribute.column};
}

}  // namespace RtiqnFom
