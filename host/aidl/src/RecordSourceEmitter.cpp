#include "CodeWriter.h"
#include "CppTypes.h"
#include "Names.h"
#include "RecordEmitter.h"

namespace aidl_ndk_generator {
namespace {

void returnOnFailure(CodeWriter& writer) {
    writer.line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
}

// The stable-parcelable layout: an int32 size covering the whole record, size included, then the
// fields in declaration order. A reader stops at the size it was given, so records from an older
// version (fewer fields) read with defaults and records from a newer one skip what they add.
void emitReadFromParcel(CodeWriter& writer, const Declaration& record) {
    writer.open("binder_status_t " + record.name + "::readFromParcel(const AParcel* _aidl_parcel)");
    writer.line("const int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);");
    writer.line("int32_t _aidl_parcelable_size = 0;");
    writer.line(
            "binder_status_t _aidl_ret_status = AParcel_readInt32(_aidl_parcel, "
            "&_aidl_parcelable_size);");
    returnOnFailure(writer);
    writer.line("if (_aidl_parcelable_size < 4) return STATUS_BAD_VALUE;");
    writer.line(
            "if (_aidl_start_pos > INT32_MAX - _aidl_parcelable_size) return STATUS_BAD_VALUE;");
    writer.line("const int32_t _aidl_end_pos = _aidl_start_pos + _aidl_parcelable_size;");
    for (const Field& field : record.fields) {
        writer.open("if (AParcel_getDataPosition(_aidl_parcel) >= _aidl_end_pos)");
        writer.line("return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);");
        writer.close();
        writer.line("_aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &" + field.name +
                    ");");
        returnOnFailure(writer);
    }
    writer.line("return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);");
    writer.close();
}

void emitWriteToParcel(CodeWriter& writer, const Declaration& record) {
    writer.open("binder_status_t " + record.name + "::writeToParcel(AParcel* _aidl_parcel) const");
    writer.line("const int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);");
    writer.line("binder_status_t _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);");
    returnOnFailure(writer);
    for (const Field& field : record.fields) {
        writer.line("_aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, " + field.name +
                    ");");
        returnOnFailure(writer);
    }
    writer.line("const int32_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);");
    writer.line("_aidl_ret_status = AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);");
    returnOnFailure(writer);
    writer.line(
            "_aidl_ret_status = AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - "
            "_aidl_start_pos);");
    returnOnFailure(writer);
    writer.line("return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);");
    writer.close();
}

}  // namespace

GeneratedFile emitRecordSource(const Document& document) {
    const Declaration& record = document.declaration;
    CodeWriter writer;
    writer.line(generatedBanner(packagePath(document.qualifiedName()) + ".aidl"));
    writer.line("#include <" + headerPath(document.qualifiedName()) + ">");
    writer.line();
    writer.line("#include <android/binder_parcel_utils.h>");
    writer.line();
    writer.line("namespace " + cppNamespace(document.package) + " {");
    writer.line();
    writer.line("const char* " + record.name + "::descriptor = \"" + document.qualifiedName() +
                "\";");
    writer.line();
    emitReadFromParcel(writer, record);
    writer.line();
    emitWriteToParcel(writer, record);
    writer.line();
    writer.line("}  // namespace " + cppNamespace(document.package));
    return {"src/" + packagePath(document.qualifiedName()) + ".cpp", writer.text()};
}

}  // namespace aidl_ndk_generator
