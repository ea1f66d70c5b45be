// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktxmldom.h>

// The system has no declarations under these names, so they are global.
using OktXml::IXMLDOMAttribute;
using OktXml::IXMLDOMAttributePtr;
using OktXml::IXMLDOMDocument;
using OktXml::IXMLDOMDocumentPtr;
using OktXml::IXMLDOMElement;
using OktXml::IXMLDOMElementPtr;
using OktXml::IXMLDOMNamedNodeMap;
using OktXml::IXMLDOMNamedNodeMapPtr;
using OktXml::IXMLDOMNode;
using OktXml::IXMLDOMNodePtr;
