#pragma once
// What the models say: messages of a simulation and the validation sink that stands for the
// property pages. Both keep a record that the reports print.

#include <string>
#include <string_view>
#include <vector>

namespace unitops {

//! A text given either as a number of a string table or as the text itself.
struct MsgText {
    MsgText(unsigned n) : number(n) {}  // NOLINT(google-explicit-constructor)
    MsgText(int n) : number(static_cast<unsigned>(n)) {}  // NOLINT(google-explicit-constructor)
    MsgText(const char* t) : text(t) {}  // NOLINT(google-explicit-constructor)
    MsgText(std::string t) : text(std::move(t)) {}  // NOLINT(google-explicit-constructor)
    std::string Resolve() const;

    unsigned number = 0;
    std::string text;
};

enum class MsgKind { Warning, Abnormal, Shown };

//! One message of a run, as the reports print it.
struct SimMessage {
    MsgKind kind = MsgKind::Warning;
    unsigned number = 0;  //!< number of the text, 0 when the text was built in code
    unsigned help = 0;
    std::string text;
};

// Message box flags and answers.
inline constexpr unsigned kStopBox = 0x4010;
inline constexpr unsigned kYesNoCancel = 0x4023;
inline constexpr unsigned kYesNo = 0x4024;
//! With a question's buttons: its second button (No) is the default, the answer that takes no
//! new data.
inline constexpr unsigned kSecondButtonDefault = 0x100;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

//! A page given to validation: it collects what is wrong and answers questions by a policy.
class CTalModelPP {
public:
    virtual ~CTalModelPP() = default;
    virtual void ValueOutOfRange(unsigned caption, std::string_view label, unsigned kind) = 0;
    virtual int ModelDlgMsg(unsigned caption, const MsgText& text, unsigned help, unsigned flags) = 0;
    virtual int ModelDlgQuestion(unsigned caption, const MsgText& text, unsigned help, unsigned flags) = 0;
};
using CTalEquipmentPP = CTalModelPP;
using CTalSpecsPP = CTalModelPP;

//! Reports a bad field on the page, if there is one; 0, the result of a failed check.
inline int ReportRange(CTalModelPP* page, unsigned caption, std::string_view label, unsigned kind) {
    if (page) page->ValueOutOfRange(caption, label, kind);
    return 0;
}
//! Reports a message box on the page, if there is one; 0, the result of a failed check.
inline int ReportMessage(CTalModelPP* page, unsigned caption, const MsgText& text, unsigned help, unsigned flags) {
    if (page) page->ModelDlgMsg(caption, text, help, flags);
    return 0;
}

const char* MsgKindName(MsgKind k);

//! How questions are answered so that runs are reproducible.
enum class QuestionPolicy {
    NoChange,  //!< the answer that changes no data: "No" to yes/no/cancel, "Yes" to yes/no unless No is
               //!< the question's default button
    Yes,
    No,
    Cancel,
};

//! One problem found by validation, rendered as readable text.
struct ValidationIssue {
    std::string object;   //!< name of the operation or equipment, set by the caller
    unsigned caption = 0;
    std::string label;    //!< field name, or empty for a message box
    unsigned kind = 0;    //!< range kind, 0 for a message box
    std::string text;     //!< the whole message
};

//! The host's validation sink: records every report of the models' checks.
class ValidationSink : public CTalModelPP {
public:
    explicit ValidationSink(QuestionPolicy policy = QuestionPolicy::NoChange) : policy_(policy) {}

    void ValueOutOfRange(unsigned caption, std::string_view label, unsigned kind) override;
    int ModelDlgMsg(unsigned caption, const MsgText& text, unsigned help, unsigned flags) override;
    int ModelDlgQuestion(unsigned caption, const MsgText& text, unsigned help, unsigned flags) override;

    void SetObject(std::string name) { object_ = std::move(name); }
    const std::vector<ValidationIssue>& Issues() const { return issues_; }
    const std::vector<std::string>& Questions() const { return questions_; }
    void Clear() { issues_.clear(); questions_.clear(); }

private:
    QuestionPolicy policy_;
    std::string object_;
    std::vector<ValidationIssue> issues_;
    std::vector<std::string> questions_;
};

}  // namespace unitops
