#ifndef RTIQN_FOM_XML_TREE_H
#define RTIQN_FOM_XML_TREE_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "FomModel.h"

namespace RtiqnFom {

/// An XML document as a flat list of elements in document order, for readers that look up fields
/// by name.
///
///     const XmlTree tree("module.xml");
///     for (XmlTree::Node child : tree.children(tree.root()))
///         use(tree.name(child), tree.text(child), tree.place(child));
///
/// Names are without their namespace prefix; declarations of namespaces are not attributes. A
/// DOCTYPE is tolerated, but nothing is ever fetched, and a document that declares an entity or
/// refers to one that is not defined is refused, as is one with elements nested deeper than
/// `theMaxDepth`.
///
/// Ownership: views stay valid as long as the tree lives and is not moved
/// Errors:    the constructor throws MalformedModule and FileError
/// Cost:      about 32 bytes an element, 20 an attribute, and the text; nothing recurses
class XmlTree {
public:
    using Node = std::uint32_t;
    static constexpr Node theNoNode = 0xFFFFFFFF;
    static constexpr unsigned theMaxDepth = 256;

    class Children;
    class Attributes;

    explicit XmlTree(const std::string& path);

    Node root() const { return 0; }
    /// The number of elements; they are the nodes 0 to size() - 1, in document order.
    Node size() const { return static_cast<Node>(nodes_.size()); }
    /// The namespace of the root element, empty when it has none.
    const std::string& rootNamespace() const { return rootNamespace_; }

    std::string_view name(Node node) const { return names_[nodes_[node].name]; }
    /// The character data of the element and of all elements in it, as it stands.
    std::string_view text(Node node) const;
    Children children(Node node) const;
    Attributes attributes(Node node) const;
    /// Where the element's tag begins.
    Place place(Node node) const;

private:
    friend class XmlTreeBuilder;

    struct Element {
        std::uint32_t name;
        Node firstChild;
        Node nextSibling;
        std::uint32_t textBegin;
        std::uint32_t textEnd;
        std::uint32_t firstAttribute;  ///< the last one is before the next node's first
        std::uint32_t line;
        std::uint32_t column;
    };
    struct AttributeValue {
        std::uint32_t name;
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t line;
        std::uint32_t column;
    };

    std::shared_ptr<const std::string> file_;
    std::string rootNamespace_;
    std::deque<std::string> names_;  ///< which stay where they are when more come
    std::vector<Element> nodes_;
    std::vector<AttributeValue> attributes_;
    std::string text_;
    std::string attributeText_;
};

/// The elements directly in an element.
class XmlTree::Children {
public:
    class Iterator {
    public:
        Iterator(const XmlTree* tree, Node node) : tree_(tree), node_(node) {}
        Node operator*() const { return node_; }
        Iterator& operator++() {
            node_ = tree_->nodes_[node_].nextSibling;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return node_ != other.node_; }

    private:
        const XmlTree* tree_;
        Node node_;
    };

    Children(const XmlTree* tree, Node first) : tree_(tree), first_(first) {}
    Iterator begin() const { return {tree_, first_}; }
    Iterator end() const { return {tree_, theNoNode}; }
    bool empty() const { return first_ == theNoNode; }

private:
    const XmlTree* tree_;
    Node first_;
};

/// The attributes of an element, by index in the order in which they stand.
class XmlTree::Attributes {
public:
    Attributes(const XmlTree* tree, std::uint32_t first, std::uint32_t end)
        : tree_(tree), first_(first), size_(end - first) {}
    std::uint32_t size() const { return size_; }
    std::string_view name(std::uint32_t index) const;
    std::string_view value(std::uint32_t index) const;
    /// Where the attribute's name begins.
    Place place(std::uint32_t index) const;

private:
    const XmlTree* tree_;
    std::uint32_t first_;
    std::uint32_t size_;
};

}  // namespace RtiqnFom

#endif
