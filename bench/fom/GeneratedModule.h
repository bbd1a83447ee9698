#ifndef RTIQNUTIL_BENCH_GENERATED_MODULE_H
#define RTIQNUTIL_BENCH_GENERATED_MODULE_H

#include <cstddef>
#include <string>

namespace bench {

/// Writes an OMT module of the edition of 2010 that merges and checks without a complaint: object
/// classes three levels deep with six attributes each, interaction classes with four parameters,
/// and for every class a simple, an enumerated, an array and a fixed record datatype.
class GeneratedModule {
public:
    /// The text is at least `size_bytes` long, and at most a few kilobytes more a group of classes.
    explicit GeneratedModule(std::size_t size_bytes) {
        for (int i = 0; objects_.size() + interactions_.size() + datatypesSize() < size_bytes; ++i)
            addGroup(std::to_string(i));
    }

    std::string text() const {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<objectModel xmlns=\"http://standards.ieee.org/IEEE1516-2010\">\n"
               "  <modelIdentification>\n    <name>Generated</name>\n    <type>FOM</type>\n"
               "    <version>1.0</version>\n  </modelIdentification>\n"
               "  <objects>\n    <objectClass>\n      <name>HLAobjectRoot</name>\n" +
               objects_ +
               "    </objectClass>\n  </objects>\n"
               "  <interactions>\n    <interactionClass>\n      <name>HLAinteractionRoot</name>\n" +
               interactions_ + "    </interactionClass>\n  </interactions>\n" + switches() +
               "  <dataTypes>\n    <basicDataRepresentations>\n      <basicData>\n" +
               field("name", "Float64") + field("size", "64") +
               field("interpretation", "Double-precision number") + field("endian", "Big") +
               field("encoding", "64-bit IEEE 754 format") +
               "      </basicData>\n    </basicDataRepresentations>\n" +
               table("simpleDataTypes", simple_) + table("enumeratedDataTypes", enumerated_) +
               table("arrayDataTypes", arrays_) + table("fixedRecordDataTypes", records_) +
               "  </dataTypes>\n</objectModel>\n";
    }

private:
    static std::string field(const std::string& element, const std::string& text) {
        return "        <" + element + ">" + text + "</" + element + ">\n";
    }

    static std::string table(const std::string& element, const std::string& rows) {
        return "    <" + element + ">\n" + rows + "    </" + element + ">\n";
    }

    static std::string switches() {
        std::string rows;
        for (const char* name :
             {"autoProvide", "conveyRegionDesignatorSets", "conveyProducingFederate",
              "attributeScopeAdvisory", "attributeRelevanceAdvisory",
              "objectClassRelevanceAdvisory", "interactionRelevanceAdvisory", "serviceReporting",
              "exceptionReporting", "delaySubscriptionEvaluation"})
            rows += "      <" + std::string(name) + " isEnabled=\"false\"/>\n";
        return table("switches",
                     rows + "      <automaticResignAction resignAction=\"NoAction\"/>\n");
    }

    std::size_t datatypesSize() const {
        return simple_.size() + enumerated_.size() + arrays_.size() + records_.size();
    }

    void addGroup(const std::string& number) {
        objects_ += openClass("objectClass", "Domain" + number, 1) +
                    openClass("objectClass", "Platform" + number, 6) +
                    openClass("objectClass", "Variant" + number, 6, "Special") +
                    "      </objectClass>\n      </objectClass>\n      </objectClass>\n";
        interactions_ += "      <interactionClass>\n" + field("name", "Event" + number) +
                         field("sharing", "PublishSubscribe") +
                         field("transportation", "HLAreliable") + field("order", "Receive") +
                         field("semantics", "Something of kind " + number + " has happened");
        for (const char* parameter : {"Cause", "Place", "Time", "Extent"})
            interactions_ += "        <parameter>\n" + field("name", parameter) +
                             field("dataType", "Length" + number) +
                             field("semantics", std::string(parameter) + " of what has happened") +
                             "        </parameter>\n";
        interactions_ += "      </interactionClass>\n";
        addDatatypes(number);
    }

    /// A class with its attributes, left open for the classes in it.
    static std::string openClass(const char* element, const std::string& name, int attributes,
                                 const std::string& prefix = "") {
        std::string text = "      <" + std::string(element) + ">\n" + field("name", name) +
                           field("sharing", "PublishSubscribe") +
                           field("semantics", "What takes part in the exercise as " + name);
        const std::string number = name.substr(name.find_first_of("0123456789"));
        for (int i = 0; i < attributes; ++i)
            text += "        <attribute>\n" +
                    field("name", prefix + name.substr(0, 4) + "Property" + std::to_string(i)) +
                    field("dataType", (i % 2 != 0 ? "State" : "Length") + number) +
                    field("updateType", "Conditional") +
                    field("updateCondition", "On change, at most ten times a second") +
                    field("ownership", "DivestAcquire") + field("sharing", "PublishSubscribe") +
                    field("transportation", i % 2 != 0 ? "HLAreliable" : "HLAbestEffort") +
                    field("order", "TimeStamp") +
                    field("semantics", "Property " + std::to_string(i) +
                                           " of the platform, measured at its centre of mass\n"
                                           "          in the local frame of the exercise") +
                    "        </attribute>\n";
        return text;
    }

    void addDatatypes(const std::string& number) {
        simple_ += "      <simpleData>\n" + field("name", "Length" + number) +
                   field("representation", "Float64") + field("units", "metre") +
                   field("resolution", "NA") + field("accuracy", "perfect") +
                   field("semantics", "A length along axis " + number + " of the local frame") +
                   "      </simpleData>\n";
        arrays_ += "      <arrayData>\n" + field("name", "Track" + number) +
                   field("dataType", "Length" + number) + field("cardinality", "Dynamic") +
                   field("encoding", "HLAvariableArray") +
                   field("semantics", "The latest lengths, the last one first") +
                   "      </arrayData>\n";
        enumerated_ += "      <enumeratedData>\n" + field("name", "Kind" + number) +
                       field("representation", "Float64") +
                       field("semantics", "Kinds of platform " + number);
        for (const char* value : {"0", "1", "2", "3", "4"})
            enumerated_ += "        <enumerator>\n" +
                           field("name", "Kind" + number + "Value" + value) +
                           field("value", value) + "        </enumerator>\n";
        enumerated_ += "      </enumeratedData>\n";
        records_ += "      <fixedRecordData>\n" + field("name", "State" + number) +
                    field("encoding", "HLAfixedRecord") +
                    field("semantics", "State of platform " + number);
        for (const char* axis : {"X", "Y", "Z"})
            records_ += "        <field>\n" + field("name", axis) +
                        field("dataType", "Length" + number) +
                        field("semantics", std::string("The state along the axis ") + axis) +
                        "        </field>\n";
        records_ += "      </fixedRecordData>\n";
    }

    std::string objects_;
    std::string interactions_;
    std::string simple_;
    std::string enumerated_;
    std::string arrays_;
    std::string records_;
};

}  // namespace bench

#endif
