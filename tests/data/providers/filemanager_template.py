# The desktop's file manager, as far as the island asks it: ShowItems, whose calls the mock records.
import dbus

BUS_NAME = 'org.freedesktop.FileManager1'
MAIN_OBJ = '/org/freedesktop/FileManager1'
MAIN_IFACE = 'org.freedesktop.FileManager1'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.AddMethod(MAIN_IFACE, 'ShowItems', 'ass', '', '')
