"""The storage tree as a scripting client walks it: documents, storages,
the Storages and Streams collections and their enumerators, lifetimes of
held objects, and the errors each refusal raises."""
import datetime
import gc

import pytest

import quillbox
from tree_helpers import closed, failure_of, file_is_held, open_ole

STG_E_FILENOTFOUND = 0x80030002
STG_E_ACCESSDENIED = 0x80030005
STG_E_FILEALREADYEXISTS = 0x80030050
STG_E_INVALIDPARAMETER = 0x80030057

READ_ONLY_OBJECT = "Impossible action with a read only object."
RENAME_REFUSED = "Impossible to rename this object by this way."
ROOT_REFUSED = "Impossible action in the root storage."
OPEN_OBJECT = "Impossible to remove an open object."
NAME_EXISTS = "This name already exist."
NOT_FOUND = {"Storages": "Storage not found", "Streams": "Stream not found"}

IID_STORAGES = "{1A01C224-63AA-11D4-9F08-400004053024}"



def add(collection, name):
    """Adds an element and lets go of its object at once, so that the
    collection holds it closed."""
    collection.Add(name)


def names(collection):
    return [element.Name for element in collection]




def local(moment):
    """What an element time set as `moment` reads back as: the date is
    stored as given and read in local time."""
    return moment.replace(tzinfo=datetime.timezone.utc).astimezone().replace(tzinfo=None)


@pytest.fixture
def path(tmp_path):
    return tmp_path / "tree.doc"


@pytest.fixture
def root(storage, path):
    """The root storage of a new document (it holds the document)."""
    return storage.CreateDocument(str(path)).RootStorage


def build(storage, path, storages):
    """A document holding the storages named by slash-separated paths,
    closed again when it returns."""
    top = storage.CreateDocument(str(path)).RootStorage
    for element in storages:
        at = top
        for part in element.split("/"):
            existing = names(at.Storages)
            at = at.Storages.Item(part) if part in existing else at.Storages.Add(part)
    del top, at
    assert closed(storage, path)


# -- CompoundDocument -----------------------------------------------------

def test_root_storage_read_twice_while_held_is_the_same_object(storage, path):
    document = storage.CreateDocument(str(path))
    first = document.RootStorage
    assert document.RootStorage == first


def test_root_storage_read_again_after_release_is_made_afresh(storage, path):
    document = storage.CreateDocument(str(path))
    add(document.RootStorage.Storages, "child")  # the root storage goes with the statement
    again = document.RootStorage
    assert again.Name == str(path)
    assert again.Storages.Count == 1
    assert again.Storages.Item("child").Name == "child"


def test_filename_is_the_path_of_the_file(storage, path):
    assert storage.CreateDocument(str(path)).filename == str(path)


def test_renaming_the_root_storage_is_refused(root):
    error = failure_of(lambda: setattr(root, "Name", "other"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, RENAME_REFUSED)


@pytest.mark.parametrize("member", ["Creation", "LastModified"])
def test_setting_a_time_of_the_root_storage_is_refused(root, member):
    error = failure_of(lambda: setattr(root, member, datetime.datetime(2001, 2, 3)))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, ROOT_REFUSED)


def test_save_as_to_an_existing_file_is_refused(storage, path, tmp_path):
    existing = tmp_path / "existing.doc"
    existing.write_bytes(b"already here")
    document = storage.CreateDocument(str(path))
    error = failure_of(lambda: document.SaveAs(str(existing)))
    assert (error.hresult, error.description) == (STG_E_FILEALREADYEXISTS, "File already exist.")
    assert existing.read_bytes() == b"already here"


def test_save_as_moves_the_document_to_the_new_file(storage, path, tmp_path):
    copy = tmp_path / "copy.doc"
    document = storage.CreateDocument(str(path))
    add(document.RootStorage.Storages, "before")
    document.SaveAs(str(copy))
    assert document.filename == str(copy)
    add(document.RootStorage.Storages, "after")
    del document
    assert closed(storage, copy)
    with open_ole(copy) as ole:
        assert sorted(ole.listdir(streams=False, storages=True)) == [["after"], ["before"]]
    with open_ole(path) as ole:
        assert ole.listdir(streams=False, storages=True) == [["before"]]


# -- Storage --------------------------------------------------------------

def test_clsid_of_a_storage_without_class_id_is_empty(root):
    assert root.Clsid == ""
    assert root.Storages.Add("child").Clsid == ""


def test_renaming_a_memory_storage_is_refused(storage):
    memory = storage.CreateMemoryStorage()
    error = failure_of(lambda: setattr(memory, "Name", "other"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, ROOT_REFUSED)


def test_memory_storage_holds_a_tree_while_it_lives(storage):
    memory = storage.CreateMemoryStorage()
    child = memory.Storages.Add("child")
    add(child.Storages, "grandchild")
    assert names(memory.Storages) == ["child"]
    assert names(child.Storages) == ["grandchild"]


@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_a_collection_read_twice_is_the_same_object(root, kind):
    assert getattr(root, kind) == getattr(root, kind)


def test_time_set_on_a_storage_is_read_back_in_local_time(root):
    child = root.Storages.Add("child")
    created = datetime.datetime(2000, 1, 1, 12, 0, 0)
    modified = datetime.datetime(2010, 6, 15, 8, 30, 5)
    child.Creation = created
    child.LastModified = modified
    assert child.Creation == local(created)
    assert child.LastModified == local(modified)


# -- Storages and Streams -------------------------------------------------

@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_count_follows_add_and_remove(root, kind):
    collection = getattr(root, kind)
    assert collection.Count == 0
    add(collection, "one")
    add(collection, "two")
    assert collection.Count == 2
    collection.Remove("one")
    assert collection.Count == 1
    assert names(collection) == ["two"]


@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_add_of_an_existing_name_is_refused_and_changes_nothing(root, kind):
    collection = getattr(root, kind)
    add(collection, "one")
    error = failure_of(lambda: collection.Add("one"))
    assert (error.hresult, error.description) == (STG_E_FILEALREADYEXISTS, NAME_EXISTS)
    assert collection.Count == 1


def test_add_of_a_name_taken_by_the_other_kind_is_refused(root):
    add(root.Storages, "taken")
    error = failure_of(lambda: root.Streams.Add("taken"))
    assert (error.hresult, error.description) == (STG_E_FILEALREADYEXISTS, NAME_EXISTS)
    assert root.Streams.Count == 0


@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_remove_of_a_held_element_is_refused_until_it_is_released(root, kind):
    collection = getattr(root, kind)
    add(collection, "held")
    held = collection.Item("held")
    error = failure_of(lambda: collection.Remove("held"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, OPEN_OBJECT)
    assert collection.Count == 1
    assert held.Name == "held"
    del held, error
    gc.collect()
    collection.Remove("held")
    assert collection.Count == 0


def test_remove_of_an_element_held_from_add_is_refused(root):
    held = root.Storages.Add("held")
    error = failure_of(lambda: root.Storages.Remove("held"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, OPEN_OBJECT)
    assert held.Storages.Count == 0


def test_remove_of_a_storage_whose_child_is_held_is_refused(root):
    deep = root.Storages.Add("parent").Storages.Add("deep")
    error = failure_of(lambda: root.Storages.Remove("parent"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, OPEN_OBJECT)
    assert deep.Name == "deep"


@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_item_of_a_missing_name_is_not_found(root, kind):
    collection = getattr(root, kind)
    error = failure_of(lambda: collection.Item("missing"))
    assert (error.hresult, error.description) == (STG_E_FILENOTFOUND, NOT_FOUND[kind])


@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_remove_of_a_missing_name_is_not_found(root, kind):
    collection = getattr(root, kind)
    error = failure_of(lambda: collection.Remove("missing"))
    assert (error.hresult, error.description) == (STG_E_FILENOTFOUND, NOT_FOUND[kind])


def test_item_of_a_removed_name_is_not_found(root):
    add(root.Storages, "gone")
    root.Storages.Remove("gone")
    error = failure_of(lambda: root.Storages.Item("gone"))
    assert (error.hresult, error.description) == (STG_E_FILENOTFOUND, "Storage not found")


def test_item_of_a_stream_name_in_storages_is_not_found(root):
    add(root.Streams, "data")
    error = failure_of(lambda: root.Storages.Item("data"))
    assert (error.hresult, error.description) == (STG_E_FILENOTFOUND, "Storage not found")


def test_item_is_the_default_member_and_finds_names_without_case(root):
    child = root.Storages.Add("Child")
    assert root.Storages("child") == child
    assert root.Storages["CHILD"] == child
    assert root.Storages.Item("cHiLd") == child


def test_item_gives_the_same_object_while_it_is_held(root):
    add(root.Storages, "child")
    first = root.Storages.Item("child")
    assert root.Storages.Item("child") == first


def test_collection_errors_carry_source_and_interface(root):
    error = failure_of(lambda: root.Storages.Item("missing"))
    assert error.source == "Quillbox.Storages.1"
    assert error.iid == IID_STORAGES


def test_renaming_to_a_name_in_use_is_refused(root):
    add(root.Storages, "taken")
    child = root.Storages.Add("child")
    error = failure_of(lambda: setattr(child, "Name", "taken"))
    assert (error.hresult, error.description) == (STG_E_FILENOTFOUND, NAME_EXISTS)
    assert child.Name == "child"


def test_renaming_to_the_same_name_succeeds(root):
    child = root.Storages.Add("child")
    child.Name = "child"
    assert child.Name == "child"


# -- Enumeration ----------------------------------------------------------

@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_enumerating_an_empty_collection_gives_nothing(root, kind):
    collection = getattr(root, kind)
    assert collection._NewEnum.Next(1) == []
    assert list(collection) == []


def test_for_each_yields_element_objects_in_name_order(root):
    for name in ("bb", "a", "C", "ab"):
        add(root.Storages, name)
    # The compound file's order: shorter names first, then without case.
    assert names(root.Storages) == ["a", "C", "ab", "bb"]
    child = root.Storages.Item("C")
    assert child in list(root.Storages)


def test_enumerator_skips_removed_elements_and_misses_added_ones(root):
    for name in ("a", "b", "c"):
        add(root.Storages, name)
    items = root.Storages._NewEnum
    root.Storages.Remove("b")
    add(root.Storages, "d")
    assert [element.Name for element in items] == ["a", "c"]
    assert root.Storages.Count == 3


def test_skip_passes_over_removed_elements(root):
    for name in ("a", "b", "c", "d"):
        add(root.Storages, name)
    items = root.Storages._NewEnum
    root.Storages.Remove("b")
    assert items.Skip(2) is True
    assert [element.Name for element in items.Next(5)] == ["d"]
    assert items.Skip(1) is False


def test_next_of_zero_elements_is_refused(root):
    add(root.Storages, "a")
    items = root.Storages._NewEnum
    error = failure_of(lambda: items.Next(0))
    assert (error.hresult, error.description) == (STG_E_INVALIDPARAMETER, "Invalid parameter.")


def test_next_of_several_elements_fills_them_all(root):
    for name in ("a", "b", "c"):
        add(root.Storages, name)
    items = root.Storages._NewEnum
    assert [element.Name for element in items.Next(2)] == ["a", "b"]
    assert [element.Name for element in items.Next(2)] == ["c"]
    assert items.Next(2) == []


def test_clone_starts_at_the_first_element(root):
    for name in ("a", "b", "c"):
        add(root.Storages, name)
    items = root.Storages._NewEnum
    items.Next(2)
    copy = items.Clone()
    assert [element.Name for element in copy] == ["a", "b", "c"]
    items.Reset()
    assert [element.Name for element in items.Next(1)] == ["a"]


def test_an_element_yielded_and_held_cannot_be_removed(root):
    add(root.Storages, "a")
    (element,) = list(root.Storages)
    error = failure_of(lambda: root.Storages.Remove("a"))
    assert error.description == OPEN_OBJECT
    del element, error
    gc.collect()
    root.Storages.Remove("a")


def test_an_enumerator_alone_keeps_the_document_open(storage, path):
    items = storage.CreateDocument(str(path)).RootStorage.Storages._NewEnum
    assert file_is_held(storage, path)
    assert items.Next(1) == []
    del items
    assert closed(storage, path)


# -- The tree: depth, lifetimes, renames and times of held elements ------

def walk(storage_object, prefix=""):
    """Every element below a storage as 'path/' for a storage and 'path'
    for a stream, checking Count and Item against the enumeration."""
    found = []
    storages = storage_object.Storages
    streams = storage_object.Streams
    assert storages.Count == len(list(storages))
    assert streams.Count == len(list(streams))
    for child in storages:
        assert storages.Item(child.Name) == child
        found.append(prefix + child.Name + "/")
        found += walk(child, prefix + child.Name + "/")
    for stream in streams:
        assert streams.Item(stream.Name) == stream
        found.append(prefix + stream.Name)
    return found


def test_tree_four_levels_deep_is_built_closed_reopened_and_walked(storage, path):
    top = storage.CreateDocument(str(path)).RootStorage
    level1 = top.Storages.Add("level1")
    level2 = level1.Storages.Add("level2")
    level3 = level2.Storages.Add("level3")
    level4 = level3.Storages.Add("level4")
    add(level1.Storages, "sibling")
    add(level1.Streams, "one")
    add(level4.Streams, "deep")
    add(top.Streams, "top")
    del top, level1, level2, level3, level4
    assert closed(storage, path)

    reopened = storage.OpenDocument(str(path), True).RootStorage
    assert sorted(walk(reopened)) == sorted([
        "level1/", "level1/level2/", "level1/level2/level3/", "level1/level2/level3/level4/",
        "level1/level2/level3/level4/deep", "level1/one", "level1/sibling/", "top"])
    assert reopened.Storages.Count == 1
    assert reopened.Storages.Item("level1").Storages.Count == 2
    deep = reopened.Storages("level1").Storages("level2").Storages("level3").Storages("level4")
    assert deep.Name == "level4"
    assert deep.Streams.Count == 1
    del reopened, deep
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert sorted(ole.listdir(streams=True, storages=True)) == sorted([
            ["level1"], ["level1", "level2"], ["level1", "level2", "level3"],
            ["level1", "level2", "level3", "level4"], ["level1", "level2", "level3", "level4", "deep"],
            ["level1", "one"], ["level1", "sibling"], ["top"]])


def test_document_released_while_its_root_storage_is_held_stays_open(path):
    maker = quillbox.CreateObject("Quillbox.StructuredStorage")
    document = maker.CreateDocument(str(path))
    top = document.RootStorage
    del document, maker
    gc.collect()
    assert quillbox.DllCanUnloadNow() == 1
    assert file_is_held(quillbox.CreateObject("Quillbox.StructuredStorage"), path)
    add(top.Storages, "still working")
    assert top.Storages.Count == 1
    del top
    gc.collect()
    assert quillbox.DllCanUnloadNow() == 0
    assert not file_is_held(quillbox.CreateObject("Quillbox.StructuredStorage"), path)


def test_a_deep_element_alone_keeps_the_file_open(storage, path):
    deep = storage.CreateDocument(str(path)).RootStorage.Storages.Add("one").Storages.Add("two")
    assert file_is_held(storage, path)
    add(deep.Storages, "three")
    del deep
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert ole.exists("one/two/three")


def test_renaming_a_held_element_keeps_it_and_its_children_working(storage, path):
    root = storage.CreateDocument(str(path)).RootStorage
    child = root.Storages.Add("child")
    grandchild = child.Storages.Add("grandchild")
    add(child.Storages, "closed")
    add(child.Streams, "data")
    child.Name = "renamed"
    assert child.Name == "renamed"
    assert grandchild.Name == "grandchild"
    add(grandchild.Storages, "deeper")
    assert names(child.Storages) == ["closed", "grandchild"]
    assert names(child.Streams) == ["data"]
    assert root.Storages.Item("renamed") == child
    error = failure_of(lambda: root.Storages.Item("child"))
    assert error.description == "Storage not found"
    grandchild.Name = "grand renamed"
    assert grandchild.Name == "grand renamed"
    del child, grandchild, root, error
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert sorted(ole.listdir(streams=True, storages=True)) == [
            ["renamed"], ["renamed", "closed"], ["renamed", "data"], ["renamed", "grand renamed"],
            ["renamed", "grand renamed", "deeper"]]


def test_setting_times_of_a_held_element_keeps_it_working(storage, path):
    root = storage.CreateDocument(str(path)).RootStorage
    child = root.Storages.Add("child")
    grandchild = child.Storages.Add("grandchild")
    created = datetime.datetime(2000, 1, 1, 12, 0, 0)
    modified = datetime.datetime(2010, 6, 15, 8, 30, 5)
    child.Creation = created
    child.LastModified = modified
    assert child.Creation == local(created)
    assert child.LastModified == local(modified)
    assert grandchild.Name == "grandchild"
    add(child.Storages, "after")
    assert names(child.Storages) == ["after", "grandchild"]
    del child, grandchild, root
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert ole.getctime("child") == created
        assert ole.getmtime("child") == modified


# -- Read-only documents --------------------------------------------------

def open_read_only(storage, path):
    build(storage, path, ["child/grandchild"])
    return storage.OpenDocument(str(path), True).RootStorage


@pytest.fixture
def read_only_root(storage, path):
    return open_read_only(storage, path)


def test_read_only_document_can_be_walked(read_only_root):
    child = read_only_root.Storages.Item("child")
    assert names(child.Storages) == ["grandchild"]
    assert child.Storages.Count == 1


@pytest.mark.parametrize("kind", ["Storages", "Streams"])
def test_read_only_document_refuses_add(read_only_root, kind):
    collection = getattr(read_only_root, kind)
    error = failure_of(lambda: collection.Add("new"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, READ_ONLY_OBJECT)
    assert collection.Count == (1 if kind == "Storages" else 0)


def test_read_only_document_refuses_remove(read_only_root):
    error = failure_of(lambda: read_only_root.Storages.Remove("child"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, READ_ONLY_OBJECT)
    assert read_only_root.Storages.Count == 1


def test_read_only_document_refuses_remove_of_a_missing_name_as_read_only(read_only_root):
    error = failure_of(lambda: read_only_root.Storages.Remove("missing"))
    assert error.description == READ_ONLY_OBJECT


@pytest.mark.parametrize("member, value", [
    ("Name", "renamed"),
    ("Creation", datetime.datetime(2001, 2, 3)),
    ("LastModified", datetime.datetime(2001, 2, 3)),
])
def test_read_only_document_refuses_changes_of_a_storage(read_only_root, member, value):
    child = read_only_root.Storages.Item("child")
    error = failure_of(lambda: setattr(child, member, value))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, READ_ONLY_OBJECT)
    assert child.Name == "child"


def test_read_only_root_storage_rename_is_refused_as_read_only(read_only_root):
    error = failure_of(lambda: setattr(read_only_root, "Name", "other"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, READ_ONLY_OBJECT)


def test_read_only_document_leaves_the_file_unchanged(storage, path):
    read_only_root = open_read_only(storage, path)
    before = path.read_bytes()
    child = read_only_root.Storages.Item("child")
    for action in (lambda: read_only_root.Storages.Add("new"), lambda: read_only_root.Storages.Remove("child"),
                   lambda: setattr(child, "Name", "renamed")):
        failure_of(action)
    del child, read_only_root
    assert closed(storage, path)
    assert path.read_bytes() == before
