// The format's own tables as plain Python values, from which the package makes its dtypes.
#include "module.h"

namespace tavo::python {

namespace {

py::list fieldsOf(const tavo_schema_block* block) {
  py::list fields;
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
    const py::object offset =
        field->offset == UINT32_MAX ? py::object(py::none()) : py::int_(field->offset);
    fields.append(py::make_tuple(field->id, field->name, field->type, field->width, offset,
                                 field->size, field->unit, field->converted != 0, field->group,
                                 field->hidden != 0, field->alias != 0));
  }
  return fields;
}

py::list blocks() {
  py::list all;
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    all.append(py::make_tuple(block->keyword, block->parent, block->kind, block->columns_type,
                              block->data_type, block->record_size, fieldsOf(block)));
  }
  return all;
}

py::dict valuesOf(const tavo_schema_value* (*at)(uint32_t, size_t), uint32_t group) {
  py::dict names;
  const tavo_schema_value* value = nullptr;
  for (size_t i = 0; (value = at(group, i)) != nullptr; ++i)
    names[py::int_(value->id)] = value->name;
  return names;
}

py::list operations() {
  py::list all;
  const tavo_schema_operation* operation = nullptr;
  for (size_t i = 0; (operation = tavo_schema_operation_at(i)) != nullptr; ++i) {
    all.append(py::make_tuple(operation->number, operation->name, operation->points));
  }
  return all;
}

py::dict messages() {
  py::dict all;
  const tavo_schema_message* message = nullptr;
  for (size_t i = 0; (message = tavo_schema_message_at(i)) != nullptr; ++i) {
    all[py::int_(message->number)] =
        py::make_tuple(message->kind, message->text, message->explanation);
  }
  return all;
}

}  // namespace

void addSchema(py::module_& module) {
  module.def("schema_blocks", &blocks, "Blocks with their fields, in the format's order.");
  module.def(
      "schema_values",
      [] { return valuesOf([](uint32_t, size_t i) { return tavo_schema_value_at(i); }, 0); },
      "Names of all enumeration numbers.");
  module.def(
      "schema_group", [](uint32_t group) { return valuesOf(&tavo_schema_group_value, group); },
      py::arg("group"), "Names of the numbers that a field of a group takes.");
  module.def("schema_operations", &operations, "Operations: number, name, points.");
  module.def("schema_messages", &messages, "Findings by number: kind, text, explanation.");
}

}  // namespace tavo::python
