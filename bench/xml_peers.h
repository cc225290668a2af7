#pragma once
// The same work on trees in every library that is measured: read, write, build, walk, find, free.
//
// Every class here has one document in it; its destructor frees the document. Its each(visit) calls
// visit.element(name), visit.text(text) and, where Visit::attributes says so, visit.attribute(value).

#include <ztree/attributes.h>
#include <ztree/ext/strings.h>
#include <ztree/ext/xml.h>
#include <ztree/xml.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#if BENCH_PUGIXML
#include <pugixml.hpp>
#endif
#if BENCH_TINYXML2
#include <tinyxml2.h>
#endif
#if BENCH_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif
#if BENCH_BOOST
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>
#endif

namespace peers {

// Name, text and attribute value of the nodes that are built.
inline const char* const itemName = "item";
inline const char* const itemText = "pump 7, open";
inline const char* const attributeName = "id";
inline const char* const attributeValue = "A-1047";

class Ztree {
public:
    static constexpr const char* name = "ztree";
    bool parse(const std::string& text) { return ztree::readXml(text.data(), text.size(), *m_tree); }
    std::size_t write() const
    {
        ZString out;
        ztree::writeXml(*m_tree, out);
        return static_cast<std::size_t>(out.length());
    }
    std::string text() const
    {
        ZString out;
        ztree::writeXml(*m_tree, out);
        return std::string(ztree::view(out));
    }
    template <class Visit> void each(Visit& visit) const
    {
        std::vector<std::pair<const ZTBranch*, int>> way;
        auto enter = [&](const ZTBranch* branch) {
            const char* branchName = branch->getName();
            if (*branchName != '#')
                visit.element(branchName);
            const void* value = nullptr;
            int bytes = 0;
            if (branch->getValuePtr(&value, &bytes) == 0 && bytes)
                visit.text(static_cast<const char*>(value));
            if (Visit::attributes) {
                int at = 0;
                for (const ZAttrib* a = branch->getFirstAttrib(&at); a; a = branch->getNextAttrib(&at))
                    visit.attribute(a->getValue());
            }
            if (branch->getChildCount())
                way.emplace_back(branch, 0);
        };
        enter(m_tree->root());
        while (!way.empty()) {
            const ZTBranch* child = way.back().first->getChild(way.back().second++);
            if (child)
                enter(child);
            else
                way.pop_back();
        }
    }
    // groups under one root, each of them with `size` nodes.
    void build(int groups, int size, bool attribute)
    {
        auto* top = new ZTBranch("root");
        m_tree->set(top);
        const ZAttrib id(attributeName, attributeValue);
        const int length = static_cast<int>(std::strlen(itemText));
        for (int g = 0; g < groups; ++g) {
            auto* group = new ZTBranch("group", top);
            top->setChild(group, -1);
            for (int i = 0; i < size; ++i) {
                auto* item = new ZTBranch(itemName, itemText, length, group);
                group->setChild(item, -1);
                if (attribute)
                    item->addAttrib(id, false);
            }
        }
    }
    void buildNamed(const std::vector<std::string>& names)
    {
        auto* top = new ZTBranch("root");
        m_tree->set(top);
        for (const std::string& n : names)
            top->setChild(new ZTBranch(n.c_str(), top), -1);
    }
    const void* find(const char* child) const { return m_tree->root()->getChild(child); }
    void clear() { m_tree->clear(); }

protected:
    std::unique_ptr<ZTree> m_tree = std::make_unique<ZTree>();
};

// Nodes are copied in, as addChild() does.
class ZtreeAdd : public Ztree {
public:
    static constexpr const char* name = "ztreeAdd";
    void build(int groups, int size, bool attribute)
    {
        m_tree->add(ZTBranch("root"));
        const ZTBranch group("group");
        ZTBranch item(itemName, itemText, static_cast<int>(std::strlen(itemText)));
        if (attribute)
            item.addAttrib(ZAttrib(attributeName, attributeValue), false);
        for (int g = 0; g < groups; ++g) {
            ZTBranch* added = nullptr;
            m_tree->root()->addChild(group, &added, false);
            for (int i = 0; i < size; ++i)
                added->addChild(item, nullptr, false);
        }
    }
};

// The cursor moves over the tree.
class ZtreeCursor : public Ztree {
public:
    static constexpr const char* name = "ztreeCursor";
    template <class Visit> void each(Visit& visit)
    {
        for (const ZTBranch* at = m_tree->reset(); at;) {
            visit.element(at->getName());
            const void* value = nullptr;
            int bytes = 0;
            if (at->getValuePtr(&value, &bytes) == 0 && bytes)
                visit.text(static_cast<const char*>(value));
            // The first step after a descent gives the child that it led to.
            at = m_tree->descend(0) ? m_tree->next() : nullptr;
            while (!at) {
                at = m_tree->next();
                if (!at && !m_tree->ascend())
                    return;
            }
        }
    }
};

// Text to elements to a tree, and back by the small writer.
class Small : public Ztree {
public:
    static constexpr const char* name = "ztreeSmall";
    bool parse(const std::string& text)
    {
        ZXmlReader reader(text.c_str());
        if (!reader.load(false, true))
            m_tree.reset(reader.createTree(true));
        return m_tree && m_tree->root();
    }
    std::size_t write()
    {
        ZXmlFile file;
        const char* out = nullptr;
        file.start(&out, nullptr, nullptr);
        m_tree->reset();
        file.writeBranch(m_tree.get());
        file.finish();
        return static_cast<std::size_t>(file.getDataSize());
    }
};

#if BENCH_PUGIXML
class Pugixml {
public:
    static constexpr const char* name = "pugixml";
    bool parse(const std::string& text)
    {
        return m_doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    }
    std::size_t write() const
    {
        struct Sink : pugi::xml_writer {
            std::string out;
            void write(const void* data, std::size_t n) override
            {
                out.append(static_cast<const char*>(data), n);
            }
        } sink;
        m_doc.save(sink, "  ");
        return sink.out.size();
    }
    template <class Visit> void each(Visit& visit) const
    {
        const pugi::xml_node top = m_doc.document_element();
        for (pugi::xml_node at = top; at;) {
            if (at.type() == pugi::node_element)
                visit.element(at.name());
            else
                visit.text(at.value());
            if (Visit::attributes)
                for (pugi::xml_attribute a = at.first_attribute(); a; a = a.next_attribute())
                    visit.attribute(a.value());
            if (at.first_child()) {
                at = at.first_child();
                continue;
            }
            while (at != top && !at.next_sibling())
                at = at.parent();
            if (at == top)
                return;
            at = at.next_sibling();
        }
    }
    void build(int groups, int size, bool attribute)
    {
        pugi::xml_node top = m_doc.append_child("root");
        for (int g = 0; g < groups; ++g) {
            pugi::xml_node group = top.append_child("group");
            for (int i = 0; i < size; ++i) {
                pugi::xml_node item = group.append_child(itemName);
                item.append_child(pugi::node_pcdata).set_value(itemText);
                if (attribute)
                    item.append_attribute(attributeName).set_value(attributeValue);
            }
        }
    }
    void buildNamed(const std::vector<std::string>& names)
    {
        pugi::xml_node top = m_doc.append_child("root");
        for (const std::string& n : names)
            top.append_child(n.c_str());
    }
    const void* find(const char* child) const
    {
        return m_doc.document_element().child(child).internal_object();
    }
    void clear() { m_doc.reset(); }

private:
    pugi::xml_document m_doc;
};
#endif

#if BENCH_TINYXML2
class Tinyxml2 {
public:
    static constexpr const char* name = "tinyxml2";
    bool parse(const std::string& text)
    {
        return m_doc.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
    }
    std::size_t write() const
    {
        tinyxml2::XMLPrinter printer;
        m_doc.Print(&printer);
        return static_cast<std::size_t>(printer.CStrSize() - 1);
    }
    template <class Visit> void each(Visit& visit) const
    {
        const tinyxml2::XMLNode* top = m_doc.RootElement();
        for (const tinyxml2::XMLNode* at = top; at;) {
            if (const tinyxml2::XMLElement* element = at->ToElement()) {
                visit.element(element->Name());
                if (Visit::attributes)
                    for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a; a = a->Next())
                        visit.attribute(a->Value());
            } else if (at->ToText()) {
                visit.text(at->Value());
            }
            if (at->FirstChild()) {
                at = at->FirstChild();
                continue;
            }
            while (at != top && !at->NextSibling())
                at = at->Parent();
            if (at == top)
                return;
            at = at->NextSibling();
        }
    }
    void build(int groups, int size, bool attribute)
    {
        tinyxml2::XMLElement* top = m_doc.NewElement("root");
        m_doc.InsertEndChild(top);
        for (int g = 0; g < groups; ++g) {
            tinyxml2::XMLElement* group = top->InsertNewChildElement("group");
            for (int i = 0; i < size; ++i) {
                tinyxml2::XMLElement* item = group->InsertNewChildElement(itemName);
                item->SetText(itemText);
                if (attribute)
                    item->SetAttribute(attributeName, attributeValue);
            }
        }
    }
    void buildNamed(const std::vector<std::string>& names)
    {
        tinyxml2::XMLElement* top = m_doc.NewElement("root");
        m_doc.InsertEndChild(top);
        for (const std::string& n : names)
            top->InsertNewChildElement(n.c_str());
    }
    const void* find(const char* child) const { return m_doc.RootElement()->FirstChildElement(child); }
    void clear() { m_doc.Clear(); }

private:
    tinyxml2::XMLDocument m_doc;
};
#endif

#if BENCH_LIBXML2
inline const xmlChar* x(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}
inline const char* c(const xmlChar* s)
{
    return reinterpret_cast<const char*>(s);
}

class Libxml2 {
public:
    static constexpr const char* name = "libxml2";
    Libxml2() = default;
    Libxml2(const Libxml2&) = delete;
    Libxml2& operator=(const Libxml2&) = delete;
    ~Libxml2() { clear(); }
    bool parse(const std::string& text)
    {
        m_doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                              XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT | XML_PARSE_HUGE);
        return m_doc != nullptr;
    }
    std::size_t write() const
    {
        xmlChar* out = nullptr;
        int bytes = 0;
        xmlDocDumpFormatMemory(m_doc, &out, &bytes, 1);
        xmlFree(out);
        return static_cast<std::size_t>(bytes);
    }
    // Attributes that the DTD sets count here too: they are not shown.
    template <class Visit> void each(Visit& visit) const
    {
        const xmlNode* top = xmlDocGetRootElement(m_doc);
        for (const xmlNode* at = top; at;) {
            if (at->type == XML_ELEMENT_NODE)
                visit.element(c(at->name));
            else if (at->type == XML_TEXT_NODE || at->type == XML_CDATA_SECTION_NODE)
                visit.text(c(at->content));
            if (at->children && at->type == XML_ELEMENT_NODE) {
                at = at->children;
                continue;
            }
            while (at != top && !at->next)
                at = at->parent;
            if (at == top)
                return;
            at = at->next;
        }
    }
    void build(int groups, int size, bool attribute)
    {
        xmlNode* top = makeRoot();
        for (int g = 0; g < groups; ++g) {
            xmlNode* group = xmlNewChild(top, nullptr, x("group"), nullptr);
            for (int i = 0; i < size; ++i) {
                xmlNode* item = xmlNewTextChild(group, nullptr, x(itemName), x(itemText));
                if (attribute)
                    xmlNewProp(item, x(attributeName), x(attributeValue));
            }
        }
    }
    void buildNamed(const std::vector<std::string>& names)
    {
        xmlNode* top = makeRoot();
        for (const std::string& n : names)
            xmlNewChild(top, nullptr, x(n.c_str()), nullptr);
    }
    const void* find(const char* child) const
    {
        const xmlNode* at = xmlDocGetRootElement(m_doc)->children;
        while (at && !xmlStrEqual(at->name, x(child)))
            at = at->next;
        return at;
    }
    void clear()
    {
        xmlFreeDoc(m_doc);
        m_doc = nullptr;
    }

private:
    xmlNode* makeRoot()
    {
        m_doc = xmlNewDoc(x("1.0"));
        xmlNode* top = xmlNewNode(nullptr, x("root"));
        xmlDocSetRootElement(m_doc, top);
        return top;
    }
    xmlDoc* m_doc = nullptr;
};
#endif

#if BENCH_BOOST
class PropertyTree {
public:
    static constexpr const char* name = "propertyTree";
    bool parse(const std::string& text)
    {
        std::istringstream in(text);
        namespace parser = boost::property_tree::xml_parser;
        parser::read_xml(in, m_tree, parser::no_comments | parser::trim_whitespace);
        return !m_tree.empty();
    }
    std::size_t write() const
    {
        std::ostringstream out;
        boost::property_tree::xml_parser::write_xml(
            out, m_tree, boost::property_tree::xml_writer_settings<std::string>(' ', 2));
        return out.str().size();
    }
    template <class Visit> void each(Visit& visit) const
    {
        using Place = boost::property_tree::ptree::const_iterator;
        std::vector<std::pair<Place, Place>> way;
        way.emplace_back(m_tree.begin(), m_tree.end());
        while (!way.empty()) {
            const Place at = way.back().first;
            if (at == way.back().second) {
                way.pop_back();
                continue;
            }
            ++way.back().first;
            if (at->first == "<xmlattr>") {
                if (Visit::attributes)
                    for (const auto& attribute : at->second)
                        visit.attribute(attribute.second.data().c_str());
                continue;
            }
            visit.element(at->first.c_str());
            if (!at->second.data().empty())
                visit.text(at->second.data().c_str());
            if (!at->second.empty())
                way.emplace_back(at->second.begin(), at->second.end());
        }
    }
    void build(int groups, int size, bool attribute)
    {
        using boost::property_tree::ptree;
        ptree& top = m_tree.push_back({"root", ptree()})->second;
        for (int g = 0; g < groups; ++g) {
            ptree& group = top.push_back({"group", ptree()})->second;
            for (int i = 0; i < size; ++i) {
                ptree& item = group.push_back({itemName, ptree(itemText)})->second;
                if (attribute)
                    item.push_back({"<xmlattr>", ptree()})
                        ->second.push_back({attributeName, ptree(attributeValue)});
            }
        }
    }
    void buildNamed(const std::vector<std::string>& names)
    {
        using boost::property_tree::ptree;
        ptree& top = m_tree.push_back({"root", ptree()})->second;
        for (const std::string& n : names)
            top.push_back({n, ptree()});
    }
    const void* find(const char* child) const
    {
        const boost::property_tree::ptree& top = m_tree.front().second;
        const auto found = top.find(child);
        return found == top.not_found() ? nullptr : &*found;
    }
    void clear() { m_tree.clear(); }

private:
    boost::property_tree::ptree m_tree;
};
#endif

/// Calls act with a null pointer to the class of every library that is there.
template <class Act> void forEachPeer(Act act)
{
    act(static_cast<Ztree*>(nullptr));
#if BENCH_PUGIXML
    act(static_cast<Pugixml*>(nullptr));
#endif
#if BENCH_TINYXML2
    act(static_cast<Tinyxml2*>(nullptr));
#endif
#if BENCH_LIBXML2
    act(static_cast<Libxml2*>(nullptr));
#endif
#if BENCH_BOOST
    act(static_cast<PropertyTree*>(nullptr));
#endif
}

/// What stands in a document, whatever library shows it: white space does not count, since each library
/// keeps another part of it.
struct Content {
    static constexpr bool attributes = true;
    std::size_t elements = 0;
    std::size_t nameBytes = 0;
    std::size_t textBytes = 0;
    std::size_t valueBytes = 0;
    void element(const char* s)
    {
        ++elements;
        nameBytes += std::strlen(s);
    }
    void text(const char* s) { textBytes += solid(s); }
    void attribute(const char* s) { valueBytes += solid(s); }
    bool equals(const Content& other) const
    {
        return elements == other.elements && nameBytes == other.nameBytes && textBytes == other.textBytes &&
               (valueBytes == other.valueBytes || !valueBytes || !other.valueBytes);
    }

private:
    static std::size_t solid(const char* s)
    {
        std::size_t n = 0;
        for (; *s; ++s)
            n += *s != ' ' && *s != '\t' && *s != '\n' && *s != '\r';
        return n;
    }
};

template <class Library> Content contentOf(Library& library)
{
    Content content;
    library.each(content);
    return content;
}

} // namespace peers
